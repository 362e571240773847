// `lumivane view`: the live picture in a window.
#include <SDL2/SDL.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "hosts/lumivane/CameraFolders.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/LiveFilter.h"
#include "hosts/lumivane/Progress.h"
#include "platform/ImageIO/ImageData.h"

namespace lumivane {
namespace {

constexpr int kFirstWidth = 960;
constexpr int kFirstHeight = 720;
constexpr double kFallbackFramesPerSecond = 60;  ///< where the display does not pace us
constexpr double kTitleSeconds = 0.5;

bool HasDisplay() {
  const auto set = [](const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
  };
  // Without this SDL falls back to a driver that draws where nobody sees it.
  return set("DISPLAY") || set("WAYLAND_DISPLAY") || set("SDL_VIDEODRIVER");
}

struct Window {
  SDL_Window* window = nullptr;
  SDL_Renderer* renderer = nullptr;
  SDL_Texture* texture = nullptr;
  int width = 0;
  int height = 0;

  ~Window() {
    if (texture) SDL_DestroyTexture(texture);
    if (renderer) SDL_DestroyRenderer(renderer);
    if (window) SDL_DestroyWindow(window);
    SDL_Quit();
  }

  bool Open() {
    if (SDL_Init(SDL_INIT_VIDEO) != 0) return false;
    window = SDL_CreateWindow("Lumivane", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED,
                              kFirstWidth, kFirstHeight, SDL_WINDOW_RESIZABLE);
    if (!window) return false;
    renderer = SDL_CreateRenderer(window, -1, SDL_RENDERER_PRESENTVSYNC);
    if (!renderer) renderer = SDL_CreateRenderer(window, -1, SDL_RENDERER_SOFTWARE);
    return renderer != nullptr;
  }

  /// A texture as large as the window's drawing area.
  bool FitTexture() {
    int w = 0;
    int h = 0;
    SDL_GetRendererOutputSize(renderer, &w, &h);
    if (texture && w == width && h == height) return true;
    if (texture) SDL_DestroyTexture(texture);
    texture =
        SDL_CreateTexture(renderer, SDL_PIXELFORMAT_RGBA32, SDL_TEXTUREACCESS_STREAMING, w, h);
    width = w;
    height = h;
    return texture != nullptr;
  }

  void Show(const Picture& picture) {
    if (picture.width == width && picture.height == height && !picture.rgba.empty()) {
      SDL_UpdateTexture(texture, nullptr, picture.rgba.data(), 4 * picture.width);
    }
    SDL_SetRenderDrawColor(renderer, 0, 0, 0, 255);
    SDL_RenderClear(renderer);
    SDL_RenderCopy(renderer, texture, nullptr, nullptr);
    SDL_RenderPresent(renderer);
  }
};

std::string SnapshotName(const std::string& folder) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char stamp[32];
  std::strftime(stamp, sizeof(stamp), "%Y%m%d-%H%M%S", &local);
  const std::filesystem::path base =
      std::filesystem::path(folder) / (std::string("lumivane-") + stamp);
  std::string name = base.string() + ".png";
  for (int i = 2; std::filesystem::exists(name); ++i) {
    name = base.string() + "-" + std::to_string(i) + ".png";
  }
  return name;
}

void TakeSnapshot(const LiveFilter& filter, const Frame& frame, const std::string& folder) {
  if (!frame.image) return;
  const std::string name = SnapshotName(folder);
  std::string error;
  const std::vector<std::uint8_t> png = EncodePng(filter.Render(frame), {}, &error);
  if (!png.empty() && ImageIOWriteFile(name, png, &error)) {
    std::printf("%s\n", name.c_str());
    std::fflush(stdout);
  } else {
    std::fprintf(stderr, "lumivane: %s cannot be written: %s\n", name.c_str(), error.c_str());
  }
}

}  // namespace

int RunView(const ViewOptions& options) {
  if (!HasDisplay()) {
    std::fprintf(stderr,
                 "lumivane: no display (neither DISPLAY nor WAYLAND_DISPLAY is set); `lumivane "
                 "snapshot --out frame.png` writes pictures without one\n");
    return kExitFailed;
  }
  std::string error;
  const std::unique_ptr<LiveFilter> filter = LiveFilter::Open(options.source, &error);
  if (!filter) {
    std::fprintf(stderr, "lumivane: %s\n", error.c_str());
    return kExitFailed;
  }
  Window window;
  if (!window.Open()) {
    std::fprintf(stderr, "lumivane: no window: %s\n", SDL_GetError());
    return kExitFailed;
  }

  const double start = MonotonicSeconds();
  double titleTime = start;
  int framesSinceTitle = 0;
  bool frozen = false;
  Frame frame;
  for (bool running = true; running;) {
    const double frameStart = MonotonicSeconds();
    bool snapshot = false;
    for (SDL_Event event; SDL_PollEvent(&event) != 0;) {
      if (event.type == SDL_QUIT) running = false;
      if (event.type != SDL_KEYDOWN) continue;
      switch (event.key.keysym.sym) {
        case SDLK_q:
        case SDLK_ESCAPE:
          running = false;
          break;
        case SDLK_s:
          snapshot = true;
          break;
        case SDLK_SPACE:
          frozen = !frozen;
          break;
        case SDLK_f: {
          const bool full = (SDL_GetWindowFlags(window.window) & SDL_WINDOW_FULLSCREEN) != 0;
          SDL_SetWindowFullscreen(window.window, full ? 0 : SDL_WINDOW_FULLSCREEN_DESKTOP);
          break;
        }
        default:
          break;
      }
    }
    if (!frozen || !frame.image) frame = filter->NextFrame();
    if (!window.FitTexture()) {
      std::fprintf(stderr, "lumivane: no texture: %s\n", SDL_GetError());
      return kExitFailed;
    }
    window.Show(frame.image ? filter->Render(frame, {window.width, window.height}) : Picture{});
    if (snapshot) TakeSnapshot(*filter, frame, options.snapshotFolder);

    ++framesSinceTitle;
    const double now = MonotonicSeconds();
    if (now - titleTime >= kTitleSeconds) {
      char title[256];
      const std::string camera = frame.live ? CurrentCameraName() : "no camera";
      std::snprintf(title, sizeof(title), "Lumivane - %s - %.1f frames per second%s",
                    camera.c_str(), framesSinceTitle / (now - titleTime),
                    frozen ? " (frozen)" : "");
      SDL_SetWindowTitle(window.window, title);
      titleTime = now;
      framesSinceTitle = 0;
    }
    if (options.seconds > 0 && now - start >= options.seconds) running = false;
    const double rest = 1 / kFallbackFramesPerSecond - (MonotonicSeconds() - frameStart);
    if (rest > 0) SDL_Delay(static_cast<Uint32>(1000 * rest));
  }
  return kExitOk;
}

}  // namespace lumivane
