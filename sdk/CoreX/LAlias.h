// A persistent alias record that resolves to a file spec (LAliasSpec) or a reference
// (LAliasRef), and that can be kept as a resource.
//
// An object owns its record's handle unless that is a resource: a resource's handle belongs to its
// file, and the object is of no use once the file is closed. Not copied. Operations return false
// and log one line on failure.
#pragma once

#include <string>

#include "platform/CoreServices/Aliases.h"
#include "platform/CoreServices/Resources.h"

class TCFString;

class LAliasBase {
 public:
  virtual ~LAliasBase();
  LAliasBase(const LAliasBase&) = delete;
  LAliasBase& operator=(const LAliasBase&) = delete;

  // All replace the record; false leaves none. The other file, if not null, is the one to resolve
  // from.

  /// Takes the handle over, unless it is a resource.
  bool Construct(AliasHandle alias);
  /// The resource 'alis' of a number, in the current resource file or those opened before it.
  bool Construct(short resID);
  bool Construct(const FSSpec& target, const FSSpec* from = nullptr);
  bool Construct(const FSRef& target, const FSRef* from = nullptr);
  void Empty();

  AliasHandle GetAlias() const { return mAlias; }
  bool IsConstructed() const { return mAlias != nullptr; }

  /// Finds the target. A record that had to change does so, in its resource file too once that is
  /// updated or closed.
  bool Resolve();
  bool IsResolved() const { return mResolved; }
  /// The same, and whether the record had to change.
  bool ResolveWasChanged(Boolean& out_wasChanged);

  // The target, resolved if it is not yet.
  virtual bool GetFileSpec(FSSpec& out) = 0;
  virtual bool GetFileRef(FSRef& out) = 0;
  bool GetUnixPath(std::string& out);
  bool GetUnixPath(TCFString& out);

  /// Makes the record a resource of the current resource file; `in_name` may be null.
  bool AddResource(short resID, const unsigned char* in_name);
  bool SetResInfo(short resID, const unsigned char* in_name);
  /// Takes the record out of its resource file.
  bool RemoveResource();
  /// Leaves a copy in the resource file, up to date.
  bool DetachResource();
  bool IsResource() const { return mResFile != kNoFile; }
  ResFileRefNum GetResFile() const { return mResFile; }
  short GetResID() const { return mResID; }

 protected:
  LAliasBase() = default;
  /// Null without a file to resolve from.
  const FSRef* From() const { return mHasFrom ? &mFrom : nullptr; }
  virtual OSErr ResolveTarget(Boolean* wasChanged) = 0;
  bool ResolveIF() { return mResolved || Resolve(); }

 private:
  static constexpr ResFileRefNum kNoFile = -1;
  Handle AsHandle() const { return reinterpret_cast<Handle>(mAlias); }
  /// The record, or false with a log line when there is none or its file is closed.
  bool HasRecord() const;
  void NoteHome();

  AliasHandle mAlias = nullptr;
  bool mResolved = false;
  ResFileRefNum mResFile = kNoFile;
  short mResID = 0;
  bool mHasFrom = false;
  FSRef mFrom = {};
};

class LAliasSpec : public LAliasBase {
 public:
  // The matching `Construct`, its result ignored.
  LAliasSpec() = default;
  explicit LAliasSpec(AliasHandle alias) { Construct(alias); }
  explicit LAliasSpec(short resID) { Construct(resID); }
  explicit LAliasSpec(const FSSpec& target, const FSSpec* from = nullptr) {
    Construct(target, from);
  }
  explicit LAliasSpec(const FSRef& target, const FSRef* from = nullptr) { Construct(target, from); }

  bool GetFileSpec(FSSpec& out) override;
  bool GetFileRef(FSRef& out) override;

 protected:
  OSErr ResolveTarget(Boolean* wasChanged) override;

 private:
  FSSpec mTarget = {};
};

class LAliasRef : public LAliasBase {
 public:
  // The matching `Construct`, its result ignored.
  LAliasRef() = default;
  explicit LAliasRef(AliasHandle alias) { Construct(alias); }
  explicit LAliasRef(short resID) { Construct(resID); }
  explicit LAliasRef(const FSSpec& target, const FSSpec* from = nullptr) {
    Construct(target, from);
  }
  explicit LAliasRef(const FSRef& target, const FSRef* from = nullptr) { Construct(target, from); }

  bool GetFileSpec(FSSpec& out) override;
  bool GetFileRef(FSRef& out) override;

 protected:
  OSErr ResolveTarget(Boolean* wasChanged) override;

 private:
  FSRef mTarget = {};
};
