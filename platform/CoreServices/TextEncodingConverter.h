// Conversion from one encoding to another, the text's form kept as it is.
#pragma once

#include "platform/CoreServices/TextCommon.h"

struct OpaqueTECObjectRef;
using TECObjectRef = OpaqueTECObjectRef*;

/// Null, and kTECNoConversionPathErr, when one of the encodings has no table; paramErr for null.
OSStatus TECCreateConverter(TECObjectRef* newEncodingConverter, TextEncoding inputEncoding,
                            TextEncoding outputEncoding);
/// kTECCorruptConverterErr for null.
OSStatus TECDisposeConverter(TECObjectRef encodingConverter);

/// Converts as many whole characters as the output holds, sizes in bytes; what was read and written
/// is reported whatever the status. No byte-order marks are added or taken away.
/// kTECOutputBufferFullStatus when the rest did not fit, kTextMalformedInputErr before what is no
/// text, kTECPartialCharErr when the input ends within a character, kTECUnmappableElementErr before
/// a character that the output encoding lacks, kTECCorruptConverterErr for a null converter,
/// paramErr for other nulls (a null input of no bytes is an empty one).
OSStatus TECConvertText(TECObjectRef encodingConverter, ConstTextPtr inputBuffer,
                        ByteCount inputBufferLength, ByteCount* actualInputLength,
                        TextPtr outputBuffer, ByteCount outputBufferLength,
                        ByteCount* actualOutputLength);
