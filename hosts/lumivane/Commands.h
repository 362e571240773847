// The program's commands. Each runs to its end and returns the process's exit code (ExitCodes.h);
// what a person should know goes to standard error, results to standard output.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace lumivane {

struct PictureSize {
  int width = 0;
  int height = 0;
};

/// "640x480": both sides 1 to 16384. Nothing for any other text.
std::optional<PictureSize> ParseSize(const std::string& text);
/// For messages about a text that is none.
inline constexpr char kSizeExample[] = "640x480, sides from 1 to 16384";

/// What every command that shows pictures takes.
struct PictureSource {
  std::string plugIn;               ///< path of the plug-in bundle; empty: the usual places
  std::optional<PictureSize> size;  ///< absent: the frame's own size
  double clock = 0.5;               ///< the filter's inputClock
};

struct SnapshotOptions {
  PictureSource source;
  std::string out;    ///< a .png path, or "-" for standard output (one frame only)
  int frames = 1;     ///< more than one: OUT gets the frame's number before its extension
  double rate = 30;   ///< frames per second asked for; 0: as fast as they can be had
  double warmUp = 3;  ///< longest time, in seconds, that a camera's brightness gets to settle
  bool requireCamera = false;
  bool json = false;
  bool quiet = false;
};
int RunSnapshot(const SnapshotOptions& options);

struct StreamOptions {
  PictureSource source;
  std::string out;     ///< a path, or "-" for standard output; empty: no video
  std::string format;  ///< "y4m" or "uyvy422"; empty: what the path's extension says, else Y4M
  std::string device;  ///< a V4L2 output device; empty: none
  bool http = false;   ///< serve at `listen`
  std::string listen = "127.0.0.1:8080";  ///< as ParseListenAddress takes it
  int maxClients = 16;                    ///< of the HTTP stream at the same time
  int quality = 80;                       ///< of its JPEGs, 1 to 100
  std::string rate = "30";                ///< frames per second, as ParseRate takes them
  std::string matrix;                     ///< "601" or "709"; empty: 709 above 576 rows
  double seconds = 0;                     ///< ends after so long; 0: when it is stopped
  std::uint64_t frames = 0;               ///< ends after so many; 0: likewise
  double wait = 3;  ///< longest time an installed camera gets to offer its first frame
  bool requireCamera = false;
  bool json = false;
  bool quiet = false;
};
int RunStream(const StreamOptions& options);

struct ViewOptions {
  PictureSource source;
  std::string snapshotFolder = ".";  ///< for recordings too
  double seconds = 0;                ///< ends by itself after so long; 0: never
  bool headless = false;             ///< draw where nobody sees it
  bool fullScreen = false;
  bool mirrored = false;
};
int RunView(const ViewOptions& options);

struct DoctorOptions {
  std::string plugIn;
  int logLines = 10;
  bool json = false;
};
int RunDoctor(const DoctorOptions& options);

struct CameraOptions {
  std::string domain = "user";  ///< "user", "local" or "system"
  bool domainGiven = false;     ///< and not the default
  std::string component;        ///< to install: "gstreamer" or "testpattern"; empty: gstreamer
  bool names = false;           ///< list: the cameras' stable names alone, one a line
  bool json = false;
};
int RunCameraList(const CameraOptions& options);
int RunCameraInstall(const CameraOptions& options);
int RunCameraRemove(const CameraOptions& options);

struct CameraUseOptions {
  std::optional<std::string> source;                          ///< empty: as without the setting
  std::vector<std::pair<std::string, std::string>> settings;  ///< empty value: taken out
  bool json = false;
};
int RunCameraUse(const CameraUseOptions& options);

struct CameraControlsOptions {
  std::string camera;                 ///< empty: the one that is set
  std::vector<std::string> controls;  ///< NAME or NAME=VALUE; empty: all
  bool json = false;
};
int RunCameraControls(const CameraControlsOptions& options);

struct CameraTestOptions {
  std::string source;  ///< empty: what is set
  double seconds = 5;  ///< to measure
  double wait = 10;    ///< for the first frame
  bool json = false;
};
int RunCameraTest(const CameraTestOptions& options);

struct AttributesOptions {
  std::string plugIn;
  bool json = false;
};
int RunAttributes(const AttributesOptions& options);

/// Each adds its command, with every option, to `app`, in a file of its own (SnapshotCommand.cpp
/// and so on); CommandLine.cpp lists them. A command that runs puts its exit code into `*result`,
/// which must live as long as `app` is used.
void AddSnapshotCommand(CLI::App& app, int* result);
void AddViewCommand(CLI::App& app, int* result);
void AddStreamCommands(CLI::App& app, int* result);
void AddDoctorCommand(CLI::App& app, int* result);
void AddCameraCommands(CLI::App& app, int* result);
void AddAttributesCommand(CLI::App& app, int* result);
void AddCompletionCommand(CLI::App& app, int* result);
void AddManualCommand(CLI::App& app, int* result);

}  // namespace lumivane
