#include "components/gstreamer/settings_file.h"

#include <filesystem>

#include "components/gstreamer/glib_text.h"

namespace fs = std::filesystem;

namespace gstcamera {

bool ChangeSettingsFile(const std::string& path, const std::vector<FileChange>& changes,
                        std::string* error) {
  const KeyFileHeld file(g_key_file_new());
  GError* failure = nullptr;
  const auto flags =
      static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  if (!g_key_file_load_from_file(file.get(), path.c_str(), flags, &failure)) {
    const ErrorHeld held(failure);
    if (!g_error_matches(failure, G_FILE_ERROR, G_FILE_ERROR_NOENT)) {
      *error = path + " cannot be used: " + failure->message + "; mend it or move it away";
      return false;
    }
    g_key_file_set_comment(file.get(), nullptr, nullptr,
                           " Settings of Lumivane's camera. `lumivane camera use` changes them.",
                           nullptr);
  }
  failure = nullptr;
  for (const FileChange& change : changes) {
    if (change.value.empty()) {
      g_key_file_remove_key(file.get(), change.group.c_str(), change.key.c_str(), nullptr);
    } else {
      g_key_file_set_string(file.get(), change.group.c_str(), change.key.c_str(),
                            change.value.c_str());
    }
  }
  // A link to a file kept elsewhere stays a link.
  std::error_code trouble;
  fs::path target = fs::weakly_canonical(path, trouble);
  if (trouble) target = path;
  fs::create_directories(target.parent_path(), trouble);
  if (trouble) {
    *error = target.parent_path().string() + " cannot be made: " + trouble.message();
    return false;
  }
  gsize length = 0;
  const GlibText text(g_key_file_to_data(file.get(), &length, nullptr));
  // Addresses may hold passwords.
  if (g_file_set_contents_full(target.c_str(), text.get(), static_cast<gssize>(length),
                               G_FILE_SET_CONTENTS_CONSISTENT, 0600, &failure)) {
    return true;
  }
  const ErrorHeld held(failure);
  *error = target.string() + " cannot be written: " + failure->message;
  return false;
}

}  // namespace gstcamera
