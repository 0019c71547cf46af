// Convolution and rank filters on a 6000 x 4000 picture, one and two threads.

#include "bench_support.h"
#include "filters/stock_masks.h"

namespace kelvane {
namespace {

using namespace bench;

void BM_MaskFilterSharpen3x3(benchmark::State& state) {
  const UserFilterRecord sharpen = GetMask(4);
  Measure(state, Whole(), [&](cBitFilter& f) { return f.MaskFilter(sharpen.Mask, sharpen.Divisor, 0, 0, 0, false); });
}
void BM_MaskFilterBlur5x5(benchmark::State& state) {
  const UserFilterRecord blur = GetMask(1);
  Measure(state, Whole(), [&](cBitFilter& f) { return f.MaskFilter(blur.Mask, blur.Divisor, 0, 0, 0, false); });
}
void BM_Blurs(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.Blurs(1); });
}
void BM_SOFTEN(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.SOFTEN(30); });
}
void BM_SHARPEN(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.SHARPEN(10); });
}
void BM_EMBOSS(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.EMBOSS(10); });
}
void BM_CONTOUR(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.CONTOUR(200, Colour{255255255}); });
}
void BM_DILATE(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.DILATE(); });
}
void BM_RankFilterND(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.RankFilterND(1); });
}
void BM_RELIEF(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.RELIEF(); });
}
void BM_PAINTING(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.PAINTING(); });
}
void BM_DIFFUSE(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.DIFFUSE(5, 10); });
}

KELVANE_BENCHMARK(BM_MaskFilterSharpen3x3);
KELVANE_BENCHMARK(BM_MaskFilterBlur5x5);
KELVANE_BENCHMARK(BM_Blurs);
KELVANE_BENCHMARK(BM_SOFTEN);
KELVANE_BENCHMARK(BM_SHARPEN);
KELVANE_BENCHMARK(BM_EMBOSS);
KELVANE_BENCHMARK(BM_CONTOUR);
KELVANE_BENCHMARK(BM_DILATE);
KELVANE_BENCHMARK(BM_RankFilterND);
KELVANE_BENCHMARK(BM_RELIEF);
KELVANE_BENCHMARK(BM_PAINTING);
KELVANE_BENCHMARK_SERIAL(BM_DIFFUSE);

}  // namespace
}  // namespace kelvane
