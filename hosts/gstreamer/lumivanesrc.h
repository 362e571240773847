/* The element lumivanesrc: the camera's live picture, as a GStreamer source. */
#ifndef LUMIVANE_GST_LUMIVANESRC_H
#define LUMIVANE_GST_LUMIVANESRC_H

#include <gst/base/gstpushsrc.h>

G_BEGIN_DECLS

#define LUMIVANE_TYPE_SRC (lumivane_src_get_type())
G_DECLARE_FINAL_TYPE(LumivaneSrc, lumivane_src, LUMIVANE, SRC, GstPushSrc)

G_END_DECLS

#endif /* LUMIVANE_GST_LUMIVANESRC_H */
