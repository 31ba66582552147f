// Frames of which each can be told from the others.
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <QImage>
#include <initializer_list>
#include <string>
#include <vector>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace test {

/// Returns a colour that tells the frame.
inline QRgb ColourOf(int frame) { return qRgb(frame % 256, 255 - frame % 256, frame / 256); }

/// A folder for the frames in.0001.png and so on, which become out.0001.png and so on.
class Sequence : public testing::Test {
 protected:
  void MakeFrames(std::initializer_list<int> frames) const {
    for (const int frame : frames) MakeFrame(frame);
  }
  void MakeFrame(int frame) const { Save(MakeImage(2, {ColourOf(frame), 0xFF102030}), In(frame)); }

  std::string In(int frame) const { return mFolder.Path(fmt::format("in.{:04}.png", frame)); }
  std::string Out(int frame) const { return mFolder.Path(fmt::format("out.{:04}.png", frame)); }

  ToolResult Convert(const Arguments& more, const ToolSettings& settings = {}) const {
    Arguments arguments = {"convert", mFolder.Path("in.####.png"), mFolder.Path("out.####.png")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunTool(arguments, settings);
  }

  /// Returns the frames whose outputs are there.
  std::vector<int> Written() const {
    std::vector<int> frames;
    for (const std::string& name : ListFolder(mFolder.Path(""))) {
      if (name.starts_with("out.")) frames.push_back(std::stoi(name.substr(4)));
    }
    return frames;
  }

  /// Whether an output shows a frame.
  bool Shows(int output, int frame) const {
    const QImage image = Load(Out(output));
    return !image.isNull() && image.pixel(0, 0) == ColourOf(frame);
  }

  TemporaryFolder mFolder;
};

}  // namespace test
