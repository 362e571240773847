// Random walks of references through their states, beside a model of what they should say.
#include <gtest/gtest.h>

#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "sdk/CoreX/LFSRef.h"
#include "tests/sdk/CoreX/FileRefTesting.h"

namespace {

namespace fs = std::filesystem;

/// What a reference is said to be.
struct Model {
  bool valid = false;
  bool latent = false;  ///< state 3, else state 1
  std::string name;     ///< in the folder
};

class Walk {
 public:
  void Step(int operation, const std::string& name) {
    switch (operation) {
      case 0:
        Check(ref_.Construct(Path(name).c_str()), true);
        model_ = {true, true, name};
        break;
      case 1: {
        const bool there = model_.valid && fs::exists(Path(model_.name));
        Check(ref_.Normalize(), there);
        if (there) model_.latent = false;
        break;
      }
      case 2: {
        const bool free = model_.valid && model_.latent && !fs::exists(Path(model_.name));
        Check(ref_.CreateFile(), free);
        if (free) model_.latent = false;
        break;
      }
      case 3: {
        const bool free = model_.valid && model_.latent && !fs::exists(Path(model_.name));
        Check(ref_.CreateFolder(), free);
        if (free) model_.latent = false;
        break;
      }
      case 4: {
        const bool file = model_.valid && fs::is_regular_file(Path(model_.name));
        Check(ref_.FileDelete(), file);
        if (file) model_.latent = true;
        RC_ASSERT(!file || !fs::exists(Path(model_.name)));
        break;
      }
      case 5: {
        Check(ref_.MakeRefWithLatentPath(), model_.valid);
        if (model_.valid) model_.latent = true;
        break;
      }
      case 6: {
        const bool works = model_.valid && fs::exists(Path(model_.name)) &&
                           (model_.name == name || !fs::exists(Path(name)));
        Check(ref_.RenameFile(name.c_str()), works);
        if (works) model_ = {true, false, name};
        break;
      }
      case 7:
        Check(ref_.ReplaceJustName(name.c_str()), model_.valid);
        if (model_.valid) model_ = {true, true, name};
        break;
      case 8: {
        LFSRef_data_t data;
        Check(ref_.GetData(data), true);
        Check(LFSRef().Construct(data), model_.valid);
        ref_ = LFSRef(data);
        break;
      }
      case 9:
        ref_.Empty();
        model_ = {};
        break;
      default:
        // A folder that is not empty cannot come about here.
        Check(LFSRef(ref_).Delete(), model_.valid && fs::exists(Path(model_.name)));
        if (model_.valid && !model_.latent) model_ = {};
        if (!model_.valid) ref_.Empty();
        break;
    }
    Compare();
  }

 private:
  std::string Path(const std::string& name) const { return (folder_.path() / name).string(); }
  void Check(bool result, bool expected) { RC_ASSERT(result == expected); }
  void Compare() {
    RC_ASSERT(ref_.GetState() == (!model_.valid ? 0 : model_.latent ? 3 : 1));
    std::string path;
    RC_ASSERT(ref_.GetUnixPath(path) == model_.valid);
    if (model_.valid) RC_ASSERT(path == Path(model_.name));
    const bool there = model_.valid && fs::exists(Path(model_.name));
    RC_ASSERT(ref_.Exists() == (there && !model_.latent));
    RC_ASSERT(ref_.IsFile() == (there && fs::is_regular_file(Path(model_.name))));
    RC_ASSERT(ref_.IsFolder() == (there && fs::is_directory(Path(model_.name))));
    FSRef normalized;
    RC_ASSERT(ref_.GetNormalizedRef(normalized) == there);
    LFSRef parent;
    RC_ASSERT(ref_.GetParentFolder(parent) == model_.valid);
    if (model_.valid) {
      RC_ASSERT(parent.GetUnixPath(path));
      RC_ASSERT(path == folder_.path().string());
    }
  }

  test::TempFolder folder_;
  LFSRef ref_;
  Model model_;
};

RC_GTEST_PROP(LFSRefModel, SaysWhatTheModelSays, ()) {
  const auto steps = *rc::gen::container<std::vector<std::pair<int, std::string>>>(
      rc::gen::pair(rc::gen::inRange(0, 11),
                    rc::gen::element<std::string>("a", "b.txt", "\xC3\xA4", "long name", "A")));
  Walk walk;
  for (const auto& [operation, name] : steps) walk.Step(operation, name);
}

}  // namespace
