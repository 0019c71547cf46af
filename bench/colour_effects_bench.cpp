// Colour effects on a 6000 x 4000 picture, one and two threads.
#include <benchmark/benchmark.h>

#include <random>

#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/palette.h"

namespace kelvane {
namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;

const Bits& Picture() {
  static const Bits picture = [] {
    Bits b(kWidth, kHeight);
    std::mt19937 rng(1);
    for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
    return b;
  }();
  return picture;
}

// A smooth picture: a photograph's few distinct colours per area, where a
// palette lookup meets the same cells again and again.
const Bits& SmoothPicture() {
  static const Bits picture = [] {
    Bits b(kWidth, kHeight);
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x) {
        uint8_t* p = b.Pixel(x, y);
        p[0] = static_cast<uint8_t>(x * 255 / kWidth);
        p[1] = static_cast<uint8_t>(y * 255 / kHeight);
        p[2] = static_cast<uint8_t>((x + y) * 255 / (kWidth + kHeight));
      }
    return b;
  }();
  return picture;
}

template <class Call>
void RunFilter(benchmark::State& state, const Bits& picture, const RectRegion& region, Call&& call) {
  cBitFilter f;
  f.SetThreadCount(static_cast<int>(state.range(0)));
  f.SeedRandom(3);
  f.SetBits(picture);
  f.BitsRegion(&region);
  for (auto _ : state) {
    Bits out = call(f);
    benchmark::DoNotOptimize(out.Data());
  }
}

const RectRegion& All() {
  static const RectRegion all = RectRegion::FromRect(0, 0, kWidth, kHeight);
  return all;
}
const RectRegion& Ellipse() {
  static const RectRegion ellipse = RectRegion::FromEllipse(0, 0, kWidth, kHeight);
  return ellipse;
}

void BM_HALFTONE_R1(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.HALFTONE(1, 50, 0); });
}
BENCHMARK(BM_HALFTONE_R1)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_HALFTONE_R10(benchmark::State& state) {
  RunFilter(state, Picture(), Ellipse(), [](cBitFilter& f) { return f.HALFTONE(10, 50, 20); });
}
BENCHMARK(BM_HALFTONE_R10)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PIXELIZE_2(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.PIXELIZE(2); });
}
BENCHMARK(BM_PIXELIZE_2)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PIXELIZE_25(benchmark::State& state) {
  RunFilter(state, Picture(), Ellipse(), [](cBitFilter& f) { return f.PIXELIZE(25); });
}
BENCHMARK(BM_PIXELIZE_25)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_NOISE(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.NOISE(25, false); });
}
BENCHMARK(BM_NOISE)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_NOISE_Equalized(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.NOISE(25, true); });
}
BENCHMARK(BM_NOISE_Equalized)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// PaletteApply diffuses into the engine's array, so each run starts from a
// fresh copy of the picture (the copy is not timed).
void PaletteRun(benchmark::State& state, const Bits& picture) {
  CurrentPalette() = DefaultPalette();
  cBitFilter f;
  f.BitsRegion(&All());
  for (auto _ : state) {
    state.PauseTiming();
    f.SetBits(picture);
    state.ResumeTiming();
    Bits out = f.PaletteApply();
    benchmark::DoNotOptimize(out.Data());
  }
}
void BM_PaletteApply_Noise(benchmark::State& state) { PaletteRun(state, Picture()); }
BENCHMARK(BM_PaletteApply_Noise)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
void BM_PaletteApply_Smooth(benchmark::State& state) { PaletteRun(state, SmoothPicture()); }
BENCHMARK(BM_PaletteApply_Smooth)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_StuckiBW(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.StuckiBW(10); });
}
BENCHMARK(BM_StuckiBW)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_SKETCH(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.SKETCH(128, true, Colour{0}); });
}
BENCHMARK(BM_SKETCH)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ClassyColors_SoftBlue(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.ClassyColors(0); });
}
BENCHMARK(BM_ClassyColors_SoftBlue)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_OLDPHOTO(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.OLDPHOTO(); });
}
BENCHMARK(BM_OLDPHOTO)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_XBLACK(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.XBLACK(); });
}
BENCHMARK(BM_XBLACK)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Scanlines(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.Scanlines(128); });
}
BENCHMARK(BM_Scanlines)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Dissolve(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) { return f.Dissolve(SmoothPicture(), 40); });
}
BENCHMARK(BM_Dissolve)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_GradientLinear(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) {
    return f.GradientLinear(f.BitsRef(), 100, 200, 5000, 3000, Colour{0xFF0000}, Colour{0x00FFFF}, 80, 1);
  });
}
BENCHMARK(BM_GradientLinear)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_GradientCircular_Bands(benchmark::State& state) {
  RunFilter(state, Picture(), All(), [](cBitFilter& f) {
    return f.GradientCircular(f.BitsRef(), 3000, 2000, 4000, 2500, Colour{0xFF0000}, Colour{-1}, 80, 4);
  });
}
BENCHMARK(BM_GradientCircular_Bands)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace kelvane
