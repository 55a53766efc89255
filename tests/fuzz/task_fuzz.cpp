// The walk over a task: any bytes as its lines, run on a fixed record of a small database without a
// dictionary. Loops are short, and no command of the shell is run. Whatever the task does, the settings of
// the application come back, and no space stays open.

#include <cstdlib>
#include <string>

#include "format/format_parts.h"
#include "format/format_run.h"
#include "format/velor64_context.h"
#include "gbl/correction.h"
#include "storage/record_read.h"
#include "support/fuzz_file.h"
#include "support/open_space.h"

namespace {

class Database {
 public:
  Database() {
    xpft::InstallFormatParts();
    xpft::DefaultFormatHooks().runShellCommand = [](const char*) { return 0; };
    ctx_ = test::MakeContext();
    ctx_->maxRepeat = 3;
    // The parameter file leads each name of a block to the files of this database.
    const std::string directory = mst_.path().substr(0, mst_.path().rfind('/') + 1);
    ctx_->dataPath = directory;
    name_ = mst_.path().substr(directory.size());
    name_.resize(name_.size() - 4);
    std::string parameters;
    for (int i = 1; i <= 11; ++i) parameters += std::to_string(i) + "=" + directory + "\n";
    Set(par_, parameters);
    const test::TestBase base =
        test::TestBase()
            .Record({{1, "one"}, {1, "two^aX^by^az"}, {2, "Москва"}, {10, "12.5"}})
            .Version(1, {{1, "new^aX"}, {1, "^b"}, {3, "\xFF\xFE^a\xFF"}, {9, "1"}}, 2);
    Set(mst_, base.Mst());
    Set(xrf_, base.Xrf());
    for (const test::FuzzFile* file : {&n01_, &l01_, &ifp_}) Set(*file, "");
    space_.reset(velor_32::Velorinit(ctx_.get()));
    if (velor_32::Velorinitmst(space_.get(), (directory + name_).c_str(), 2) != 0) std::abort();
    xpft::SpaceContext(space_.get())->SetNoErrorLog(true);
  }

  void Correct(std::string bytes, bool closesRecords) {
    for (std::size_t at = 0; (at = bytes.find("DB", at)) != std::string::npos;) bytes.replace(at, 2, name_);
    velor_01::TStringList task;
    task.SetText(bytes);
    if (velor_32::VelorRecord(space_.get(), 0, 1) != 0) std::abort();
    velor_01::TList changed;
    std::string errors;
    std::string protocol;
    global::IsisRecUpdateSpecial(space_.get(), 0, &task, &changed, errors, protocol,
                                 [&](velor_01::TVelorSpace*, int) { return closesRecords; });
    for (void* other : changed.Items()) velor_32::Velorclose(static_cast<velor_01::TVelorSpace*>(other));
    if (ctx_->xpftUpdateEnabled || ctx_->ignoreIfs) std::abort();
  }

 private:
  static void Set(const test::FuzzFile& file, const std::string& bytes) {
    file.Set(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }

  test::Context ctx_;
  test::FuzzFile mst_{".mst"};
  test::FuzzFile xrf_{".xrf"};
  test::FuzzFile n01_{".n01"};
  test::FuzzFile l01_{".l01"};
  test::FuzzFile ifp_{".ifp"};
  test::FuzzFile par_{".par"};
  std::string name_;
  velor_32::SpacePointer space_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Database database;
  if (size < 1 || size > 600) return 0;  // nested loops of a long task take long
  database.Correct(std::string(reinterpret_cast<const char*>(data) + 1, size - 1), data[0] % 2 == 0);
  return 0;
}
