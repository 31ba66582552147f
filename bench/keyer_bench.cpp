// Benchmarks of the keyer on the processor, beside ffmpeg's filters, each on one thread in the layout of
// pixels that it works in. Those change alpha alone and in place.
#include <cstdint>
extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

#include <memory>
#include <string>

#include "NodeBench.h"
#include "fp/RFpKeyer_default.h"

namespace {

using bench::Action;
using bench::PictureSize;

// A green screen behind brown, in soft diagonal stripes with grain, so that every branch is taken; the second
// picture is the screen alone.
void FillPlate(unsigned char* rgba, std::size_t pixels, std::size_t input) {
  std::uint32_t state = 1;
  for (std::size_t i = 0; i < pixels; ++i) {
    state = state * 1664525U + 1013904223U;
    const auto grain = static_cast<int>(state >> 29);
    const int wave = static_cast<int>((i / 3 + i / 1920) % 512);
    const int screen = input != 0 ? 255 : std::min(std::max(std::abs(wave - 256) * 3 - 256, 0), 255);
    const auto mix = [&](int brown, int green) {
      return static_cast<unsigned char>((brown * (255 - screen) + green * screen) / 255 + grain);
    };
    rgba[4 * i] = mix(90, 30);
    rgba[4 * i + 1] = mix(60, 190);
    rgba[4 * i + 2] = mix(50, 40);
    rgba[4 * i + 3] = 255;
  }
}

// --- ffmpeg

struct FreeGraph {
  void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};
struct FreeFrame {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FreeFrame>;

// A graph from one or two inputs of the same layout to one output, without conversions in between.
class FilterGraph {
 public:
  FilterGraph(const PictureSize& size, AVPixelFormat format, const std::string& filters, unsigned count,
              std::size_t inputs)
      : mSize(size), mFormat(format), mInputs(inputs) {
    mGraph->nb_threads = 1;
    const std::string source = "=video_size=" + std::to_string(size.width) + "x" +
                               std::to_string(size.height) + ":pix_fmt=" + std::to_string(format) +
                               ":time_base=1/25";
    const std::string second =
        inputs == 2 ? "buffer@second" + source + "[second];[first][second]" : "[first]";
    const std::string text = "buffer@first" + source + "[first];" + second + filters +
                             ",format=" + av_get_pix_fmt_name(format) + ",buffersink@sink";
    AVFilterInOut* open = nullptr;
    AVFilterInOut* unused = nullptr;
    const bool parsed = avfilter_graph_parse2(mGraph.get(), text.c_str(), &open, &unused) >= 0;
    avfilter_inout_free(&open);
    avfilter_inout_free(&unused);
    if (!parsed || avfilter_graph_config(mGraph.get(), nullptr) < 0) return;
    mFirst = avfilter_graph_get_filter(mGraph.get(), "buffer@first");
    mSecond = avfilter_graph_get_filter(mGraph.get(), "buffer@second");
    mSink = avfilter_graph_get_filter(mGraph.get(), "buffersink@sink");
    // Sources, the filters, the layout and the sink; more would be conversions.
    mValid = mGraph->nb_filters == count + static_cast<unsigned>(inputs) + 2;
  }

  bool IsValid() const { return mValid; }
  Frame MakeFrame(std::size_t input) const;

  // One input is filtered in place: the frame goes in and comes out again. Two are kept.
  bool Run(AVFrame* frame, AVFrame* second) {
    frame->pts = mTime++;
    if (mInputs == 1)
      return av_buffersrc_add_frame(mFirst, frame) >= 0 && av_buffersink_get_frame(mSink, frame) >= 0;
    second->pts = frame->pts;
    av_frame_unref(mResult.get());
    return av_buffersrc_add_frame_flags(mFirst, frame, AV_BUFFERSRC_FLAG_KEEP_REF) >= 0 &&
           av_buffersrc_add_frame_flags(mSecond, second, AV_BUFFERSRC_FLAG_KEEP_REF) >= 0 &&
           av_buffersink_get_frame(mSink, mResult.get()) >= 0;
  }
  const AVFrame& GetResult(const AVFrame& frame) const { return mInputs == 1 ? frame : *mResult; }

 private:
  PictureSize mSize;
  AVPixelFormat mFormat;
  std::size_t mInputs;
  std::unique_ptr<AVFilterGraph, FreeGraph> mGraph{avfilter_graph_alloc()};
  AVFilterContext* mFirst = nullptr;
  AVFilterContext* mSecond = nullptr;
  AVFilterContext* mSink = nullptr;
  Frame mResult{av_frame_alloc()};
  std::int64_t mTime = 0;
  bool mValid = false;
};

// The plate in the filter's layout: RGBA, or planes of YUVA by the weights of standard definition.
Frame FilterGraph::MakeFrame(std::size_t input) const {
  Frame frame(av_frame_alloc());
  frame->format = mFormat;
  frame->width = mSize.width;
  frame->height = mSize.height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
  const bench::Buffer plate = bench::MakeBuffer(4 * mSize.Pixels());
  FillPlate(plate.get(), mSize.Pixels(), input);
  for (int y = 0; y < mSize.height; ++y) {
    for (int x = 0; x < mSize.width; ++x) {
      const unsigned char* const p = plate.get() + 4 * (static_cast<std::ptrdiff_t>(y) * mSize.width + x);
      if (mFormat == AV_PIX_FMT_RGBA) {
        std::copy_n(p, 4, frame->data[0] + static_cast<std::ptrdiff_t>(y) * frame->linesize[0] + 4L * x);
        continue;
      }
      const unsigned char planes[] = {
          static_cast<unsigned char>(16 + (66 * p[0] + 129 * p[1] + 25 * p[2]) / 256),
          static_cast<unsigned char>(128 + (-38 * p[0] - 74 * p[1] + 112 * p[2]) / 256),
          static_cast<unsigned char>(128 + (112 * p[0] - 94 * p[1] - 18 * p[2]) / 256), 255};
      for (int plane = 0; plane < 4; ++plane)
        frame->data[plane][static_cast<std::ptrdiff_t>(y) * frame->linesize[plane] + x] = planes[plane];
    }
  }
  return frame;
}

// Whether the filter has left some pixels of the middle row and keyed out others; at the edges filters may
// look at pixels that are not there.
bool HasKeyed(const AVFrame& frame) {
  const bool packed = frame.format == AV_PIX_FMT_RGBA;
  const int plane = packed ? 0 : 3;
  const std::ptrdiff_t row = frame.height / 2;
  const unsigned char* const alpha = frame.data[plane] + row * frame.linesize[plane] + (packed ? 3 : 0);
  const int step = packed ? 4 : 1;
  bool kept = false;
  bool keyed = false;
  for (int x = 0; x < frame.width; ++x) {
    kept = kept || alpha[step * x] == 255;
    keyed = keyed || alpha[step * x] == 0;
  }
  return kept && keyed;
}

// `count` filters, and the inputs that they read.
bench::Make Ffmpeg(const PictureSize& size, AVPixelFormat format, const char* filters, unsigned count = 1,
                   std::size_t inputs = 1) {
  return [=]() -> Action {
    const auto graph = std::make_shared<FilterGraph>(size, format, filters, count, inputs);
    if (!graph->IsValid()) return nullptr;
    const std::shared_ptr<AVFrame> a = graph->MakeFrame(0);
    const std::shared_ptr<AVFrame> b = graph->MakeFrame(1);
    if (!a || !b || !graph->Run(a.get(), b.get()) || !HasKeyed(graph->GetResult(*a))) return nullptr;
    return [=] { graph->Run(a.get(), b.get()); };
  };
}

// --- Ours.

void KeyChroma(RFpKeyer_default& node) {
  node.SetKey(0, 0.12F);
  node.SetKey(1, 0.75F);
  node.SetKey(2, 0.16F);
  node.SetThreshold(0.5F);
  node.SetSoftness(0.6F);
  node.SetSuppression(0.1F);
}

void KeyLuminance(RFpKeyer_default& node) {
  node.SetMode(kFpKeyLuminance);
  node.SetThreshold(0.5F);
  node.SetSoftness(0.04F);
}

void KeyDifference(RFpKeyer_default& node) {
  node.SetMode(kFpKeyDifference);
  node.SetThreshold(0.95F);
  node.SetSoftness(0.2F);
}

void MatteOfChroma(RFpKeyer_default& node) {
  KeyChroma(node);
  node.SetOutput(kFpMatte);
}

[[maybe_unused]] const bool kRegistered = [] {
  for (const PictureSize& size : bench::kPictureSizes) {
    const std::size_t bytes = 4 * size.Pixels();
    const auto ours = [&](const std::string& subject, std::size_t inputs, void (*change)(RFpKeyer_default&)) {
      bench::Register(subject, "ours", bytes,
                      bench::DrawInMemory<RFpKeyer_default>(size, inputs, change, FillPlate));
      bench::RegisterMemcpy(subject, bytes);
    };
    const char* const colorkey = "colorkey=color=0x1fbe29:similarity=0.1:blend=0.15";
    const char* const chromakey = "chromakey=color=0x1fbe29:similarity=0.12:blend=0.03";
    const auto chroma = [&](const std::string& subject, void (*change)(RFpKeyer_default&)) {
      ours(subject, 1, change);
      bench::Register(subject, "ffmpeg_colorkey", bytes, Ffmpeg(size, AV_PIX_FMT_RGBA, colorkey));
      bench::Register(subject, "ffmpeg_chromakey", bytes, Ffmpeg(size, AV_PIX_FMT_YUVA444P, chromakey));
    };
    chroma(std::string("ChromaKey_") + size.name, KeyChroma);
    chroma(std::string("ChromaMatte_") + size.name, MatteOfChroma);
    const std::string luminance = std::string("LuminanceKey_") + size.name;
    ours(luminance, 1, KeyLuminance);
    bench::Register(luminance, "ffmpeg_lumakey", bytes,
                    Ffmpeg(size, AV_PIX_FMT_YUVA444P, "lumakey=threshold=0.5:tolerance=0.05:softness=0.05"));
    const std::string difference = std::string("DifferenceKey_") + size.name;
    ours(difference, 2, KeyDifference);
    // It has no keyer of differences, but the two filters that make one.
    bench::Register(difference, "ffmpeg_difference_lumakey", bytes,
                    Ffmpeg(size, AV_PIX_FMT_YUVA444P,
                           "blend=c0_mode=difference:c1_mode=difference:c2_mode=difference,"
                           "lumakey=threshold=0:tolerance=0.05:softness=0.05",
                           2, 2));
  }
  return true;
}();

}  // namespace
