// Static objects that static initialisers of other sources may use.
#pragma once

/// Before a definition: the object is built before, and destroyed after, every static object of its
/// module that does not say so itself.
#define CORE_BUILT_EARLY __attribute__((init_priority(200)))
