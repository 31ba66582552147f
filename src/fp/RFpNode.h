// The fragment-processing node: what an effect does to its inputs.
#pragma once

#include "fp/RFpContext.h"
#include "fp/RFpForms.h"
#include "image/RImageExport.h"

/// Holds an effect's parameters in the form that the hardware needs, and puts the state for one draw in
/// place, draws, and takes it away again. A node works in one or more stages; stages and inputs are counted
/// from 0. The order of the virtual functions is an interface.
///
/// Nodes are used on the thread that owns the current OpenGL context.
class RIMAGE_API RFpNode {
 public:
  RFpNode() = default;
  RFpNode(const RFpNode&) = delete;
  RFpNode& operator=(const RFpNode&) = delete;

  /// Returns how often a setter has changed a value since the node was made.
  virtual unsigned GetChangeCount() const = 0;
  /// Returns the number of images that the effect reads with its present parameters.
  virtual int GetInputCount() const = 0;
  /// Returns the number of draws that an evaluation takes.
  virtual int GetStageCount() const = 0;
  /// Returns the forms (a mask of `kForm`) in which a stage can work.
  virtual int GetRequirementFlags(int stage) const = 0;
  /// Returns the provider that a stage writes into; 0 is the operator's output.
  virtual int GetReserved(int stage) const;
  /// Returns the number of images that a stage reads, the feedback included.
  virtual int GetInputRequirement(int stage) const = 0;
  /// Returns the provider of a stage's input `index`; the operator's input plugs count from 1.
  virtual int GetNextIndex(int stage, int index) const = 0;
  /// Called before the images of a stage are bound.
  virtual void Prepare(RFpContext* context, int stage, int form, int width, int height);
  /// Puts the state for one draw in place; returns 0 when it cannot be built, else 1.
  virtual int Bind(RFpContext* context, int stage, int form) = 0;
  /// Draws the destination, `width` x `height` pixels from the lower left corner.
  virtual void Draw(RFpContext* context, int stage, int form, int width, int height) = 0;
  /// Takes the state away that `Bind` put in place.
  virtual void Unbind(RFpContext* context, int stage, int form) = 0;
  /// Called after the images of a stage are unbound.
  virtual void Finish(RFpContext* context, int stage, int form, int width, int height);
  /// Sets every parameter to its default, through the setters.
  virtual void Reset() = 0;
  virtual ~RFpNode();
};
