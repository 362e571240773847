#include "hosts/lumivane/CaptureFiles.h"

#include <cmath>
#include <ctime>
#include <filesystem>

#include "hosts/lumivane/HostStart.h"

namespace lumivane {

std::string CaptureName(const std::string& folder, const std::string& extension) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char stamp[32];
  std::strftime(stamp, sizeof(stamp), "%Y%m%d-%H%M%S", &local);
  const std::string base =
      (std::filesystem::path(folder) / (std::string("lumivane-") + stamp)).string();
  std::string name = base + "." + extension;
  std::error_code ignored;  // What cannot be looked at fails when it is written, with its reason.
  for (int i = 2; std::filesystem::exists(name, ignored); ++i) {
    name = base + "-" + std::to_string(i) + "." + extension;
  }
  return name;
}

std::vector<std::pair<std::string, std::string>> PictureTexts(const CameraHealth& health) {
  char stamp[64];
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  std::strftime(stamp, sizeof(stamp), "%a, %d %b %Y %H:%M:%S GMT", &utc);
  std::vector<std::pair<std::string, std::string>> texts = {
      {"Software", std::string("Lumivane ") + Version()},
      {"Creation Time", stamp},
      {"Camera State", StateName(health.state)}};
  if (!health.camera.empty()) texts.emplace_back("Source", health.camera);
  if (health.ageSeconds) {
    texts.emplace_back("Frame Age",
                       std::to_string(std::llround(1000 * *health.ageSeconds)) + " ms");
  }
  return texts;
}

}  // namespace lumivane
