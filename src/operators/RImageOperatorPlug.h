// A plug of an image operator.
#pragma once

#include <cstdint>

#include "operators/IImageProvider.h"
#include "rbaselib/RString.h"

class RImageOperator;

/// An operator's input or output. It holds an image, or, on the input side, is connected to the operator
/// whose result it reads. A plug borrows both; the reference counts of images are its operator's business,
/// and whoever destroys an operator disconnects it first.
class RIMAGE_API RImageOperatorPlug : public IImageProvider {
 public:
  /// Makes an empty plug named "undefined". `type` is an `RImageOperator::RPlugType`.
  explicit RImageOperatorPlug(long type);
  /// Makes a plug that holds `image`, which may be null; its reference count is not touched.
  RImageOperatorPlug(long type, const RString& name, RImage* image);
  RImageOperatorPlug(const RImageOperatorPlug&) = delete;
  RImageOperatorPlug& operator=(const RImageOperatorPlug&) = delete;

  RImage* GetImage() const override;
  /// Returns the connected operator's update id, else 0.
  int GetUpdateId() override;
  /// Forces the connected operator to compute its result again.
  void IncUpdateId() override;
  int ReadTest(RFpContext* context, int want) override;
  int ReadLock(RFpContext* context, int mask) override;
  int ReadBind(RFpContext* context, int mask, int unit, int count) override;
  int ReadUnBind(RFpContext* context, int mask, int unit, int count) override;
  int ReadUnLock(RFpContext* context, int mask) override;
  int WriteLock(RFpContext* context, int mask, int width, int height) override;
  int WriteBind(RFpContext* context, int mask) override;
  int WriteUnBind(RFpContext* context, int mask) override;
  int WriteUnLock(RFpContext* context, int mask, int drawn) override;
  ///@{
  /// Returns the size of the connected operator's result, else of the held image, else 0.
  int GetWidth() override;
  int GetHeight() override;
  ///@}
  ~RImageOperatorPlug() override;

  ///@{
  /// The plug's name.
  const RString& GetName() const { return mName; }
  void SetName(const RString& name) { mName = name; }
  ///@}
  /// Returns the held image, borrowed, or null.
  RImage* Image() const { return mImage; }
  /// Holds `image` from now on. Another image than before marks the plug dirty; the same one takes the mark
  /// away.
  void SetImage(RImage* image);
  /// Returns the connected operator, borrowed, or null.
  RImageOperator* GetInputOperator() const { return mInputOperator; }
  /// Connects an input plug; null disconnects it. Nothing happens on an output plug.
  void SetInputOperator(RImageOperator* inputOperator);
  ///@{
  /// Whether the plug is in that list.
  bool IsOutputPlug() const { return (mFlags & kOutput) != 0; }
  bool IsInputPlug() const { return !IsOutputPlug(); }
  ///@}
  /// Marks the plug dirty.
  void SetDirty() { mFlags |= kDirty; }
  /// Returns whether the plug was dirty, and takes the mark away.
  bool TestAndResetDirty();

 private:
  static constexpr std::uint32_t kOutput = 1;
  static constexpr std::uint32_t kDirty = 2;

  RString mName;
  RImage* mImage = nullptr;
  RImageOperator* mInputOperator = nullptr;
  std::uint32_t mFlags;
};
