// The node of an image-processing graph.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "fp/RFpContext.h"
#include "fp/RFpNode.h"
#include "image/RImage.h"
#include "operators/RImageOperatorPlug.h"
#include "rbaselib/IArcStorable.h"
#include "rbaselib/RArrayHelper.h"
#include "rbaselib/RProperty.h"

/// An image operator: numbered input and output plugs, and a node that computes the image of output plug 0
/// from those of the input plugs.
///
/// Results are made on demand. Whoever wants one locks the operator for reading; if nothing upstream has
/// changed since the last time, the stored result is handed out, else the operator runs its node's stages,
/// locking its inputs, and so their operators, on the way. A connection, and what somebody draws into the
/// image of a plug, is not seen by itself: call `IncUpdateId` after such a change.
///
/// Operators are used on the thread that owns the current OpenGL context. The order of the virtual functions
/// is an interface.
class RIMAGE_API RImageOperator : public RObject, public IArcStorable {
  R_CLASS(RImageOperator, RObject)

  /// The two lists of plugs.
  enum RPlugType : int {
    kPlugInput = 0,
    kPlugOutput = 1,
  };
  /// The kinds of operators that hosts know.
  enum ROperatorType : int {
    kOperatorBase = 0,
    kOperatorEffect = 3,
  };

  /// Makes an operator without a node, with the output plug "OUT_0" when `createOutput` is set. `name` is its
  /// persistent name.
  RImageOperator(const RString& name, bool createOutput);
  ~RImageOperator() override;

  /// Releases the plugs and their images.
  void Destruct() override;
  /// Id 1001 answers the operator's `IArcStorable` face.
  IObject* IQuery(unsigned long id, int reserved) override;

  // --- Reading the result; see IImageProvider. Forms are masks of `kForm`, 0 is failure.

  ///@{
  /// As in `IImageProvider`, of the operator's result.
  virtual int ReadTest(RFpContext* context, int want);
  virtual int ReadLock(RFpContext* context, int mask);
  virtual int ReadBind(RFpContext* context, int mask, int unit, int count);
  virtual int ReadUnBind(RFpContext* context, int mask, int unit, int count);
  virtual int ReadUnLock(RFpContext* context, int mask);
  virtual int WriteLock(RFpContext* context, int mask, int width, int height);
  virtual int WriteUnLock(RFpContext* context, int mask, int drawn);
  ///@}
  ///@{
  /// Return the size of the image on output plug 0, 0 without one.
  virtual int GetWidth();
  virtual int GetHeight();
  ///@}
  /// Returns the texture of output plug 0's image, moved there if need be and bound to GL_TEXTURE_2D, or 0
  /// without an image. It does not bring the result up to date.
  virtual unsigned long ImageTextureGetObject();
  /// Brings the result up to date in the forms `flags`; with a colour buffer form it is drawn into the
  /// caller's current colour buffer, its lower left corner at (0, 0), under the caller's own viewport and
  /// matrices. False when it cannot be had.
  virtual bool ImageTextureDrawCurrent(int flags);
  /// Gives up the result image; the next lock computes into a new one.
  virtual void ImageDetachTextureObject();

  /// Returns the node's change count and the update ids of all operators upstream, added up. An operator that
  /// is met again on the way to itself counts 0.
  virtual int GetUpdateId();
  /// Makes the next lock compute the result again.
  virtual void IncUpdateId();
  /// Returns the kind of the operator.
  virtual ROperatorType OperatorType();
  /// Returns a new operator of the same class with the same name and property values, without images and
  /// connections, which the caller owns; null from the base class.
  virtual RImageOperator* Clone();
  /// Whether the host may animate a property; true unless an effect says otherwise.
  virtual bool IsAnimatableProperty(RProperty* property);

  // --- Plugs. An index is valid from 0 to below the number of plugs of that type. No type but the two is
  // checked for.

  /// Marks a plug dirty.
  virtual void SetPlugDirty(int index, RPlugType type);
  /// Returns 0, or -1 for an invalid index.
  virtual int SetPlugName(int index, RPlugType type, const RString& name);
  /// Puts `image`, or null, on the plug and takes a reference to it. The image that it replaces loses one,
  /// and is destroyed with the last. Returns 0, or -1 for an invalid index.
  virtual int SetPlugImage(int index, RPlugType type, RImage* image);
  /// Returns the connected operator, borrowed, or null.
  virtual RImageOperator* GetPlugInputOperator(int index, RPlugType type) const;
  /// Connects an input plug, without marking it dirty; null disconnects. Returns 0, also for an output plug,
  /// which stays as it is, or -1 for an invalid index.
  virtual int SetPlugInputOperator(int index, RPlugType type, RImageOperator* inputOperator);
  /// Returns the plug, borrowed, or null.
  virtual IImageProvider* GetPlugImageProvider(int index, RPlugType type);

  int GetNbPlugs(RPlugType type) const;  ///< the number of plugs of that type
  /// Returns the name, or "Error" for an invalid index.
  const RString& GetPlugName(int index, RPlugType type) const;
  /// Returns the held image, borrowed, or null.
  RImage* GetPlugImage(int index, RPlugType type) const;
  /// Takes the image out of the plug and returns it, or null. The plug's reference passes to the caller: the
  /// count goes down by one, and the image is never destroyed.
  RImage* GrabPlugImage(int index, RPlugType type) const;
  /// Returns whether the plug has become dirty since the last time anyone asked; false for an invalid index.
  bool IsPlugDirty(int index, RPlugType type) const;

  /// Returns the node, borrowed, or null from the base class.
  RFpNode* GetProcessingNode() const { return mNode.get(); }
  /// Returns the form (one bit of `kForm`) in which the node last drew, 0 before the first evaluation that
  /// succeeded.
  int GetProcessedForm() const { return mProcessedForm; }

  /// Runs the node's stages. `flags` is the form that is wanted, or `kFormProcessorRequest` when the graphics
  /// card is out of reach. Returns the forms in which the result is there, or 0 when a stage failed.
  int ProcessLoop(RFpContext* context, int flags);

  ///@{
  /// Counts the operators that draw. The first one that registers while an OpenGL context is current creates
  /// what they draw on, and the last one that goes destroys it. The operator itself is not looked at.
  static void RegisterGLOperator(RImageOperator* imageOperator);
  static void UnregisterGLOperator(RImageOperator* imageOperator);
  ///@}

  // --- IArcStorable: the operator stores its name; property values are stored by the host.

  ///@{
  /// Returns what archives file the operator under, static.
  const char* ArcGetObjectId() override;
  const char* ArcGetObjectType() override;
  const char* ArcGetObjectSubType() override;
  ///@}
  ///@{
  /// Stores or reads the name. Returns true.
  bool ArcStore(IArcObject* file, int pass) override;
  bool ArcRetrieve(IArcObject* file, int pass) override;
  ///@}

 protected:
  /// Appends a plug without an image.
  void AppendPlug(RPlugType type, const RString& name);
  ///@{
  /// Releases the images of all plugs of a type, then the plugs.
  void ClearPlugs(RPlugType type);
  void ClearAllPlugs();
  ///@}

  const RString& GetPersistentName() const { return mPersistentName; }  ///< the name that archives keep

  /// Takes the node, in place of the one before.
  void SetProcessingNode(std::unique_ptr<RFpNode> node) { mNode = std::move(node); }

 private:
  RImageOperatorPlug* GetPlug(int index, RPlugType type) const;
  bool EnsureOutputImage();
  int Compute(RFpContext* context, int loopFlags, int mask, int updateId);
  int ComputeOffscreen(RFpContext* context, int mask, int updateId);

  RArrayHelper::Header* mPlugs[2] = {nullptr, nullptr};
  RString mPersistentName;
  int mUpdateCounter = 0;
  std::optional<int> mProcessedId;  ///< the update id of the stored result; none when it was thrown away
  std::unique_ptr<RFpNode> mNode;
  int mProcessedForm = 0;

  // What cuts cycles: an operator that is being locked refuses a second lock, and the sum of update ids takes
  // each operator's own value once a traversal.
  bool mLocking = false;
  std::uint64_t mTraversal = 0;
  unsigned mTraversalSum = 0;
};
