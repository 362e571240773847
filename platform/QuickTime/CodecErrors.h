// Results of the Image Compression Manager.
#pragma once

#include "platform/CoreServices/Files.h"

inline constexpr OSErr codecErr = -8960;
inline constexpr OSErr noCodecErr = -8961;     ///< nothing registered does this
inline constexpr OSErr codecUnimpErr = -8962;  ///< not done by this codec
inline constexpr OSErr codecSizeErr = -8963;
inline constexpr OSErr codecScreenBufErr = -8964;
inline constexpr OSErr codecImageBufErr = -8965;
inline constexpr OSErr codecSpoolErr = -8966;
inline constexpr OSErr codecAbortErr = -8967;
inline constexpr OSErr codecWouldOffscreenErr = -8968;
inline constexpr OSErr codecBadDataErr = -8969;  ///< the data are not what the description says
inline constexpr OSErr codecDataVersErr = -8970;
inline constexpr OSErr codecExtensionNotFoundErr = -8971;
inline constexpr OSErr codecConditionErr = -8972;
inline constexpr OSErr codecOpenErr = -8973;

inline constexpr OSErr matrixErr = -2203;  ///< a matrix that cannot be inverted
inline constexpr OSErr kQTPropertyBadValueSizeErr = -2194;
inline constexpr OSErr kQTPropertyNotSupportedErr = -2195;
