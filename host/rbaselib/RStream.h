// The host's file streams.
#pragma once

#include "rbaselib/RObject.h"
#include "rbaselib/RStreamOptions.h"

/// A stream moves one object from or to one file: whoever wants that makes one from the registry, names the
/// file, attaches the object, opens or creates, and destroys the stream. It borrows the object, and is
/// used by one thread at a time.
class RBASELIB_API RStream : public RObject {
 public:
  RStream();
  ~RStream() override;

  /// Reads the file that the stream names into the attached object; false when that fails. With nothing
  /// attached a reader attaches an object of its own making, also when it fails later on; whoever uses the
  /// stream then owns it. `options` is borrowed and may be null. The base cannot read.
  virtual bool StreamOpen(RStreamOptions* options);
  /// Writes the attached object to the file that the stream names; false when that fails; what the file
  /// then holds is anything. `options` is borrowed; null asks for the defaults. The base cannot write.
  virtual bool StreamCreate(RStreamOptions* options);

  /// Names the file by a path in UTF-8, which is copied; null takes the name away.
  void SetFileName(const char* name);
  /// Returns the path, borrowed until it is set again, or null when the stream has none.
  const char* GetFileName() const { return mHasFileName ? mFileName.GetChars() : nullptr; }

  /// Attaches an object (null detaches); the stream borrows it.
  void SetObject(RObject* object) { mObject = object; }
  /// Returns the attached object, borrowed, or null.
  RObject* GetObject() const { return mObject; }

  /// Lets go of object and file name.
  void Destruct() override;
  int GetClassId() const override;
  const char* GetClassIdName() const override;
  const RClassDefinition* GetClassDefinition() const override;
  int GetClassGroupId() const override;
  const char* GetClassGroupName() const override;
  int GetClassSize() const override;
  int GetClassInstanceCount() const override;
  bool Is(int classId) const override;
  RProperty* FastFindPropertyByName(const char* name) const override;

  ///@{
  /// As in `RObject`, of this class.
  static RClassDefinition ClassDefinition;
  static int ClassId;
  static const char* const ClassName;
  static const int ClassSize;
  static int ClassInstanceCount;
  static RPropertyHashMap PropertyHashMap;
  ///@}

 private:
  RString mFileName;
  bool mHasFileName = false;
  RObject* mObject = nullptr;
};

/// Reads the file at `path` with a registered reader and returns the object it holds, which the caller owns.
///
/// The reader is the enabled factory of `group` whose name equals the text after the path's last dot,
/// compared without case. The stream gets the path, is opened with `options` (which may be null) and is
/// always destroyed. Returns null when there is no such reader, it fails or leaves nothing attached; what a
/// failed reader left attached is destroyed. With `showMessages` a failure is also shown through the main
/// message handler.
RBASELIB_API RObject* RStreamReadObject(const char* path, RStreamOptions* options, const char* group,
                                        bool showMessages);
