// Colour effects on a 6000 x 4000 picture, one and two threads.

#include "bench_support.h"
#include "filters/palette.h"

namespace kelvane {
namespace {

using namespace bench;

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

void BM_HALFTONE_R1(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.HALFTONE(1, 50, 0); });
}
KELVANE_BENCHMARK(BM_HALFTONE_R1);

void BM_HALFTONE_R10(benchmark::State& state) {
  Measure(state, Ellipse(), [](cBitFilter& f) { return f.HALFTONE(10, 50, 20); });
}
KELVANE_BENCHMARK(BM_HALFTONE_R10);

void BM_PIXELIZE_2(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.PIXELIZE(2); });
}
KELVANE_BENCHMARK(BM_PIXELIZE_2);

void BM_PIXELIZE_25(benchmark::State& state) {
  Measure(state, Ellipse(), [](cBitFilter& f) { return f.PIXELIZE(25); });
}
KELVANE_BENCHMARK(BM_PIXELIZE_25);

void BM_NOISE(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.NOISE(25, false); });
}
KELVANE_BENCHMARK_SERIAL(BM_NOISE);

void BM_NOISE_Equalized(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.NOISE(25, true); });
}
KELVANE_BENCHMARK_SERIAL(BM_NOISE_Equalized);

// PaletteApply diffuses into the engine's array, so each run starts from a
// fresh copy of the picture (the copy is not timed).
void PaletteRun(benchmark::State& state, const Bits& picture) {
  CurrentPalette() = DefaultPalette();
  cBitFilter f;
  f.BitsRegion(&Whole());
  for (auto _ : state) {
    state.PauseTiming();
    f.SetBits(picture);
    state.ResumeTiming();
    Bits out = f.PaletteApply();
    benchmark::DoNotOptimize(out.Data());
  }
}
void BM_PaletteApply_Noise(benchmark::State& state) { PaletteRun(state, Picture()); }
KELVANE_BENCHMARK_SERIAL(BM_PaletteApply_Noise);
void BM_PaletteApply_Smooth(benchmark::State& state) { PaletteRun(state, SmoothPicture()); }
KELVANE_BENCHMARK_SERIAL(BM_PaletteApply_Smooth);

void BM_StuckiBW(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.StuckiBW(10); });
}
KELVANE_BENCHMARK_SERIAL(BM_StuckiBW);

void BM_SKETCH(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.SKETCH(128, true, Colour{0}); });
}
KELVANE_BENCHMARK(BM_SKETCH);

void BM_ClassyColors_SoftBlue(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.ClassyColors(0); });
}
KELVANE_BENCHMARK(BM_ClassyColors_SoftBlue);

void BM_OLDPHOTO(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.OLDPHOTO(); });
}
KELVANE_BENCHMARK(BM_OLDPHOTO);

void BM_XBLACK(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.XBLACK(); });
}
KELVANE_BENCHMARK(BM_XBLACK);

void BM_Scanlines(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.Scanlines(128); });
}
KELVANE_BENCHMARK(BM_Scanlines);

void BM_Dissolve(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.Dissolve(SmoothPicture(), 40); });
}
KELVANE_BENCHMARK_SERIAL(BM_Dissolve);

void BM_GradientLinear(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) {
    return f.GradientLinear(f.BitsRef(), 100, 200, 5000, 3000, Colour{0xFF0000}, Colour{0x00FFFF}, 80, 1);
  });
}
KELVANE_BENCHMARK(BM_GradientLinear);

void BM_GradientCircular_Bands(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) {
    return f.GradientCircular(f.BitsRef(), 3000, 2000, 4000, 2500, Colour{0xFF0000}, Colour{-1}, 80, 4);
  });
}
KELVANE_BENCHMARK(BM_GradientCircular_Bands);

}  // namespace
}  // namespace kelvane
