/* Finds and loads liblumivane-source.so. Linked into each module; needs nothing but the C library.
 */
#ifndef LUMIVANE_SOURCE_LIBRARY_H
#define LUMIVANE_SOURCE_LIBRARY_H

#include "hosts/source/lumivane_source.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The library's table, loaded on first success and kept; null when it cannot be had, which is told
 * on standard error once and tried again after a second. May be called from several threads.
 *
 * Looked for, in this order: in the folder lumivane beside the module's own folder or the one above
 * it (lib/lumivane for a module in lib/frei0r-1 or lib/MACHINE/gstreamer-1.0, links followed); in
 * LUMIVANE_LOCAL_ROOT or /usr/local/lib/lumivane; in LUMIVANE_SYSTEM_ROOT or /usr/lib/lumivane. So
 * a module copied to a folder of the user's finds what is installed.
 */
const LumivaneSourceApi* LumivaneSource_Library(void);

#ifdef __cplusplus
}
#endif

#endif /* LUMIVANE_SOURCE_LIBRARY_H */
