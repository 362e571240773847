// One image description, owned or borrowed, and its typed extensions.
//
// Multi-byte numbers in extensions are big-endian in the description. Each typed operation says
// whether it converts them or hands them over as they are stored.
#pragma once

#include "platform/QuickTime/ImageDescription.h"
#include "sdk/QClasses/QRect.h"

class QImageDescription {
 public:
  enum : SInt32 { kInvalidTypeId = 0 };

  QImageDescription();
  /// Borrows `h`. Constructors with an argument log when their `Construct` fails, and leave the
  /// object empty.
  explicit QImageDescription(ImageDescriptionHandle h);
  explicit QImageDescription(UInt32 effectType);
  explicit QImageDescription(PixMapHandle pm);
  /// Duplicates the other's description; see `ConstructCopy` for who disposes of it.
  QImageDescription(const QImageDescription& copyOf);
  QImageDescription& operator=(const QImageDescription& copyOf);
  ~QImageDescription();

  /// Every form first lets go of what the object held. True when it holds a description afterwards.
  bool Construct(ImageDescriptionHandle h, bool ownsHandle);
  bool Construct(UInt32 effectType);
  /// Describes a pixel map's pixels. Where the row bytes cannot be told from the format, they are
  /// attached as 'rowb', in the machine's own byte order (unlike `AddExtension_rowb`, which stores
  /// them big-endian): a reader of 'rowb' gets them byte-swapped on a little-endian machine.
  bool Construct(PixMapHandle pm);
  /// Duplicates `h`. The duplicate is not owned: it outlives this object, and whoever needs its
  /// memory back disposes of `GetHandle()`. MacMemoryGetCounters shows what stays behind.
  bool ConstructCopy(ImageDescriptionHandle h);
  void Destruct();
  /// Disposes of an owned description, forgets a borrowed one.
  void DisposeIF();

  bool IsConstructed() const { return mHandle != nullptr; }
  ImageDescriptionHandle GetHandle() const { return mHandle; }
  bool OwnsHandle() const { return mOwnsHandle; }

  /// Fields of the record; 0 without one.
  SInt16 Width() const;
  SInt16 Height() const;
  UInt32 GetPixelFormat() const;
  QPoint Dimensions() const;
  bool GetBounds(Rect& r) const;
  /// These log when there is no description.
  SInt32 DataSize() const;
  SInt16 BitDepth() const;
  bool SetWidthHeight(const Point& p);
  bool SetWidthHeight(SInt16 width, SInt16 height);

  /// Attaches a copy of the bytes, as they are. paramErr for null or type 0.
  OSErr AddImageDescriptionExtension(Handle extension, SInt32 idType);
  OSErr AddImageDescriptionExtension(const void* in_data, UInt32 in_data_size, SInt32 idType);
  /// Attach 4 big-endian bytes.
  OSErr AddImageDescriptionExtension_S32(const SInt32& value, SInt32 idType);
  OSErr AddImageDescriptionExtension_U32(const UInt32& value, SInt32 idType);

  /// A copy of the `index`-th extension (from 1) of the type, which the caller disposes of.
  /// codecExtensionNotFoundErr, unlogged, when there is none.
  OSErr GetImageDescriptionExtension(Handle& out, SInt32 idType, SInt32 index);
  /// The same into the caller's bytes, zeroed first. An extension of another size leaves the zeros
  /// and counts as success, with a log line.
  OSErr GetImageDescriptionExtension(void* in_data, UInt32 in_data_size, SInt32 idType,
                                     SInt32 index);
  /// 4 bytes, converted from big-endian; 0 when there are none.
  OSErr GetImageDescriptionExtension_U32(UInt32& v, SInt32 idType, SInt32 index);
  OSErr GetImageDescriptionExtension_S32(SInt32& v, SInt32 idType, SInt32 index);

  /// True when the extension is there. The bytes are handed over as they are stored.
  bool GetExtension_gama(SInt32& gamma, SInt32 index);
  bool GetExtension(FieldInfoImageDescriptionExtension2& extension, SInt32 index);
  bool GetExtension(CleanApertureImageDescriptionExtension& extension, SInt32 index);
  bool GetExtension(PixelAspectRatioImageDescriptionExtension& extension, SInt32 index);
  bool GetExtension(NCLCColorInfoImageDescriptionExtension& extension, SInt32 index);
  /// Converted from big-endian.
  bool GetExtension_cspc(UInt32& v, SInt32 index);
  /// Converted from big-endian; calculated where it is not attached. Unchanged when false.
  bool GetExtension_rowb(SInt32& rowBytes, SInt32 index);
  /// For 4:2:2 formats only: data size / height, or width * 2 where the size or height is 0.
  bool CalculateExtension_rowb(SInt32& rowBytes) const;
  /// Attaches the row bytes unless they can be got already.
  bool AddExtension_rowb(SInt32 rowBytes);

  /// Walks over the extension types. Without a description the second logs and returns true: do not
  /// loop on one.
  bool GetFirstExtensionType(SInt32& type);
  bool GetNextExtensionType(SInt32& type);

  /// Writes the record and its extension types to the debug log; all fields with `detail` > 0.
  void CoreDebugPrint(const char* label, int detail) const;

 private:
  ImageDescriptionHandle mHandle;
  bool mOwnsHandle;  ///< false whenever there is no handle
};
