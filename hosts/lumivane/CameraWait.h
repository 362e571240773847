// The moment between the first question and a camera's first frame.
#pragma once

#include "hosts/lumivane/LiveFilter.h"

namespace lumivane {

class StopSignals;

/// Asks for frames until one comes from a camera, for at most `seconds`, or until `stop` (null:
/// nothing stops it). Where no camera is installed, it does not wait. The last answer, which may be
/// the no-camera picture.
Frame FirstFrame(LiveFilter& filter, double seconds, StopSignals* stop);

}  // namespace lumivane
