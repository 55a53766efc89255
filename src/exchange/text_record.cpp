#include "exchange/text_record.h"

#include <charconv>
#include <limits>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/fields.h"
#include "storage/record_guid.h"
#include "storage/record_status.h"
#include "storage/shelf.h"
#include "utils/file_layer.h"
#include "utils/text_util.h"

namespace velora {

using velor_01::TVelorSpace;

namespace {

constexpr std::string_view kEndOfRecord = "*****";
constexpr std::string_view kLineEnd = "\r\n";
constexpr int kDefaultPdfTag = 27;
constexpr int kHeaderTag = 0;

void AppendNumber(std::string* out, int number) {
  char text[16];
  out->append(text, std::to_chars(text, text + sizeof text, number).ptr);
}

/// "#" + tag + ": ", to which the text of the line is added.
void OpenLine(std::string* out, int tag) {
  out->push_back('#');
  AppendNumber(out, tag);
  out->append(": ");
}

void AppendHeader(const TVelorSpace* space, int slot, std::string* out) {
  const bool textPending = space->isFullText && (velor_32::Velorrecstatus(space, slot, 1) &
                                                 velor_01::kStatusFullTextNotActualized);
  const struct {
    bool on;
    int flag;
  } states[] = {
      {velor_32::VelorIsLocked(space, slot), velor_01::kStatusLocked},
      {!velor_32::VelorIsActualized(space, slot), velor_01::kStatusNotActualized},
      {velor_32::VelorIsDeleted(space, slot), velor_01::kStatusDeleted},
      {textPending, velor_01::kStatusFullTextNotActualized},
  };
  OpenLine(out, kHeaderTag);
  AppendNumber(out, velor_32::Velormfn(space, slot));
  bool any = false;
  for (const auto& state : states) {
    if (!state.on) continue;
    out->push_back('#');
    AppendNumber(out, state.flag);
    any = true;
  }
  if (!any) out->append("#0");
  out->append(kLineEnd);
}

}  // namespace

bool OpensField(std::string_view line, int* tag, std::string_view* text) {
  if (line.empty() || line[0] != '#') return false;
  const std::size_t colon = line.find(": ");
  if (colon == std::string_view::npos) return false;
  const char* end = line.data() + colon;
  const auto [parsed, error] = std::from_chars(line.data() + 1, end, *tag);
  if (error != std::errc{} || parsed != end || *tag < 0) return false;
  *text = line.substr(colon + 2);
  return true;
}

void RecTextWrite(TVelorSpace* space, int slot, EncodingOption::Type encoding, bool header, bool guid,
                  int handle) {
  TextEncoder encoder(encoding);
  std::string text;
  AppendTextRecord(space, slot, header, guid, encoder, &text);
  backup::_lwrite64(handle, text.data(), static_cast<std::int64_t>(text.size()));
}

void AppendTextRecord(const TVelorSpace* space, int slot, bool header, bool guid, TextEncoder& encoder,
                      std::string* out) {
  if (header) AppendHeader(space, slot, out);
  if (const char* own = guid ? velor_32::VelorGetGuid(space, slot) : nullptr; own) {
    OpenLine(out, velor_01::kGuidTag);
    out->append(own).append(kLineEnd);
  }
  const int count = velor_32::Velornfields(space, slot);
  for (int i = 1; i <= count; ++i) {
    int tag = 0;
    const std::string_view text = velor_32::FieldText(space, slot, i, &tag);
    OpenLine(out, tag);
    out->append(encoder.Encode(text)).append(kLineEnd);
  }
  out->append(kEndOfRecord).append(kLineEnd);
}

bool RecTextRead(TVelorSpace* space, int slot, EncodingOption::Type encoding, bool header, bool guid,
                 std::ifstream& stream) {
  return TextRecordReader(space, encoding, header, guid).Read(slot, stream);
}

TextRecordReader::TextRecordReader(TVelorSpace* space, std::int32_t encoding, bool header, bool guid)
    : space_(space), encoder_(encoding), header_(header), guid_(guid), pdfTag_(kDefaultPdfTag) {
  if (space && space->app && space->app->mainIni)
    pdfTag_ =
        utils::TextUtil::Int32ParseExact(space->app->mainIni->Get("MAIN", "PDF_TAG", ""), kDefaultPdfTag);
}

bool TextRecordReader::Read(int slot, std::ifstream& stream) {
  velor_32::Velorfldempty(space_, slot);
  tag_ = -1;
  text_.clear();
  sawGuid_ = false;
  dropped_ = 0;
  bool ended = false;
  while (!ended && std::getline(stream, line_)) {
    if (app::CheckStopProcess(space_->app)) return false;
    std::string_view line = line_;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty()) continue;
    int tag = 0;
    std::string_view text;
    if (line == kEndOfRecord) {
      ended = true;
    } else if (OpensField(line, &tag, &text)) {
      EndField(slot);
      tag_ = tag;
      text_.assign(text);
    } else {
      text_.append(line);
    }
  }
  EndField(slot);
  if (ended || sawGuid_ || velor_32::Velornfields(space_, slot) > 0) return true;
  return header_ && velor_32::Velormfn(space_, slot) >= 1;
}

void TextRecordReader::EndField(int slot) {
  if (tag_ < 0 || text_.empty()) return;
  std::string_view text = encoder_.Decode(text_);
  std::string cleaned;
  bool isText = utils::TextUtil::CheckUTF8(text.data(), text.size());
  if (!isText && tag_ == pdfTag_) {
    cleaned = utils::TextUtil::FilterUTF8(text, ' ');
    text = cleaned;
    isText = utils::TextUtil::CheckUTF8(text.data(), text.size());
  }
  if (!isText) {
    ++dropped_;
    return;
  }
  if (tag_ == kHeaderTag) {
    if (header_) TakeHeader(slot, text);
  } else if (tag_ == velor_01::kGuidTag) {
    if (!guid_ || !velor_32::KeepsGuids(space_)) return;
    const std::string own(text.substr(0, velor_01::kGuidLength));
    velor_32::VelorSetGuid(space_, slot, own.c_str());
    sawGuid_ = true;
  } else {
    const bool fits = text.size() <= std::numeric_limits<std::int32_t>::max();
    if (!fits || velor_32::Velorfldadd(space_, slot, tag_, 0, text.data(), static_cast<int>(text.size())) !=
                     velor_32::kOk)
      ++dropped_;
  }
}

/// "<number>#<flags>#<flags>": the flags are tested as bits.
void TextRecordReader::TakeHeader(int slot, std::string_view text) {
  static constexpr struct {
    int bit;
    int (*set)(TVelorSpace*, int);
  } kFlags[] = {
      {velor_01::kStatusLocked, velor_32::Velorreclock},
      {velor_01::kStatusNotActualized, velor_32::Velorrecunactualize},
      {velor_01::kStatusDeleted, velor_32::Velorrecdel},
      {velor_01::kStatusFullTextNotActualized, velor_32::Velorrecftunactualize},
      {velor_01::kStatusPhysicallyDeleted, velor_32::Velorrecphysdel},
  };
  bool isFirst = true;
  while (true) {
    const std::size_t end = text.find('#');
    const int number = utils::TextUtil::Int32ParseExact(text.substr(0, end), 0);
    if (isFirst && number > 0) velor_32::Velorchangemfn(space_, slot, number);
    for (const auto& flag : kFlags)
      if (!isFirst && (number & flag.bit)) flag.set(space_, slot);
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + 1);
    isFirst = false;
  }
}

}  // namespace velora
