// Keys and values of filter descriptions. Each is an interned constant string: never released.
#pragma once

#include "platform/Foundation/NSObject.h"

// Of a filter.
extern NSString* const kCIAttributeFilterName;
extern NSString* const kCIAttributeFilterDisplayName;
extern NSString* const kCIAttributeFilterCategories;
// Of one parameter.
extern NSString* const kCIAttributeClass;
extern NSString* const kCIAttributeType;
extern NSString* const kCIAttributeMin;
extern NSString* const kCIAttributeMax;
extern NSString* const kCIAttributeSliderMin;
extern NSString* const kCIAttributeSliderMax;
extern NSString* const kCIAttributeDefault;
extern NSString* const kCIAttributeIdentity;
extern NSString* const kCIAttributeName;
extern NSString* const kCIAttributeDisplayName;
extern NSString* const kCIAttributeDescription;
// Values of kCIAttributeType.
extern NSString* const kCIAttributeTypeTime;
extern NSString* const kCIAttributeTypeScalar;
extern NSString* const kCIAttributeTypeDistance;
extern NSString* const kCIAttributeTypeAngle;
extern NSString* const kCIAttributeTypeBoolean;
extern NSString* const kCIAttributeTypeInteger;
extern NSString* const kCIAttributeTypeCount;
extern NSString* const kCIAttributeTypePosition;
extern NSString* const kCIAttributeTypeOffset;
extern NSString* const kCIAttributeTypePosition3;
extern NSString* const kCIAttributeTypeRectangle;
extern NSString* const kCIAttributeTypeOpaqueColor;
extern NSString* const kCIAttributeTypeGradient;
// Categories.
extern NSString* const kCICategoryDistortionEffect;
extern NSString* const kCICategoryGeometryAdjustment;
extern NSString* const kCICategoryCompositeOperation;
extern NSString* const kCICategoryHalftoneEffect;
extern NSString* const kCICategoryColorAdjustment;
extern NSString* const kCICategoryColorEffect;
extern NSString* const kCICategoryTransition;
extern NSString* const kCICategoryTileEffect;
extern NSString* const kCICategoryGenerator;
extern NSString* const kCICategoryReduction;
extern NSString* const kCICategoryGradient;
extern NSString* const kCICategoryStylize;
extern NSString* const kCICategorySharpen;
extern NSString* const kCICategoryBlur;
extern NSString* const kCICategoryVideo;
extern NSString* const kCICategoryStillImage;
extern NSString* const kCICategoryInterlaced;
extern NSString* const kCICategoryNonSquarePixels;
extern NSString* const kCICategoryHighDynamicRange;
extern NSString* const kCICategoryBuiltIn;
// Common parameters and results.
extern NSString* const kCIInputImageKey;
extern NSString* const kCIOutputImageKey;
