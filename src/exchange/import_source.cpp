#include "exchange/import_source.h"

#include <vector>

#include "exchange/exchange_files.h"
#include "exchange/marc_mode.h"
#include "storage/codes.h"
#include "storage/fields.h"
#include "utils/text_util.h"

namespace velora {

using velor_01::TVelorSpace;
using velor_server_proc::VelorImportContext;

namespace {

class IsoSource : public ImportSource {
 public:
  IsoSource(TVelorSpace* space, std::int32_t encoding, bool marcMode)
      : space_(space), encoder_(encoding), marcMode_(marcMode), file_(space->app) {}

  bool Open(const std::string& file) { return file_.Open(file); }

  Outcome Next(int slot) override {
    lostFields = badTexts = 0;
    remark.clear();
    char* record = nullptr;
    std::size_t length = 0;
    switch (file_.Next(&record, &length)) {
      case IsoFileReader::Outcome::kEnd:
        return Outcome::kEnd;
      case IsoFileReader::Outcome::kTooLong:
        remark = "record terminator not found";
        return Outcome::kSkipped;
      case IsoFileReader::Outcome::kTruncated:
        remark = "file ends inside the record";
        return Outcome::kSkipped;
      case IsoFileReader::Outcome::kRecord:
        break;
    }
    if (file_.lengthWasWrong()) remark = "record length is wrong";
    return Take(slot, {record, length});
  }

  bool HasFailed() const override { return file_.hasFailed(); }

 private:
  Outcome Take(int slot, std::string_view record) {
    IsoLosses losses;
    if (ReadIsoRecord(space_, slot, record, encoder_, &losses) != velor_32::kOk) return Outcome::kNoMemory;
    lostFields = losses.total();
    badTexts = losses.badText;
    if (marcMode_) AddLeader(slot, record.substr(0, kIsoLeaderSize));
    return Outcome::kRecord;
  }

  void AddLeader(int slot, std::string_view leader) {
    leader = encoder_.Decode(leader);
    if (!utils::TextUtil::CheckUTF8(leader.data(), leader.size())) return;
    velor_32::Velorfldadd(space_, slot, kImportedLeaderTag, 0, leader.data(),
                          static_cast<int>(leader.size()));
  }

  TVelorSpace* space_;
  TextEncoder encoder_;
  bool marcMode_;
  IsoFileReader file_;
};

class TextSource : public ImportSource {
 public:
  TextSource(TVelorSpace* space, const VelorImportContext& params)
      : buffer_(kBufferSize), reader_(space, params.encoding, params.header, params.guid) {
    stream_.rdbuf()->pubsetbuf(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  }

  bool Open(const std::string& file) {
    stream_.open(file, std::ios::binary);
    if (!stream_) return false;
    SkipByteOrderMark(stream_);
    return true;
  }

  Outcome Next(int slot) override {
    const bool got = reader_.Read(slot, stream_);
    lostFields = badTexts = reader_.dropped();
    return got ? Outcome::kRecord : Outcome::kEnd;
  }

  bool HasFailed() const override { return stream_.bad(); }

 private:
  static constexpr std::size_t kBufferSize = std::size_t{1} << 17;

  std::vector<char> buffer_;  // before the stream, which uses it to the end
  std::ifstream stream_;
  TextRecordReader reader_;
};

}  // namespace

std::unique_ptr<ImportSource> OpenImportSource(TVelorSpace* space, const std::string& file, bool marcMode,
                                               const VelorImportContext& params) {
  if (params.format == VelorImportContext::kIso) {
    auto source = std::make_unique<IsoSource>(space, params.encoding, marcMode);
    if (!source->Open(file)) return nullptr;
    return source;
  }
  auto source = std::make_unique<TextSource>(space, params);
  if (!source->Open(file)) return nullptr;
  return source;
}

}  // namespace velora
