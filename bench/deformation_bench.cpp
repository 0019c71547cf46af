// Deformation filters on a 6000 x 4000 picture, whole-picture selection unless
// the name says otherwise.

#include "bench_support.h"

namespace kelvane {
namespace {

using namespace bench;

const Bits& Tile() {
  static const Bits tile = NoiseBits(64, 48, 2);
  return tile;
}

// The cost of a deformation depends on what it reads, so every run starts
// from the same picture.
template <class Call>
void Run(benchmark::State& state, const RectRegion& region, Call&& call) {
  Measure(state, region, call, Between::Restore);
}

void BM_Rotate30(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.ROTATE(30, true); }); }
void BM_Rotate30Ellipse(benchmark::State& s) { Run(s, Ellipse(), [](cBitFilter& f) { return f.ROTATE(30, true); }); }
void BM_RotateSmooth30(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.RotateSmooth(30); }); }
void BM_Twirl(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.TWIRL(50, 20, true); }); }
void BM_Waves(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.WAVES(30, 40, 0); }); }
void BM_Lens(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.LENS(0.5, 0.5, 0.3125, 50); }); }
void BM_Bend(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.BEND(0, true); }); }
void BM_Stretch(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.STRETCH(-30, 20, true); }); }
void BM_Fold(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.FOLD(40, -40, true); }); }
void BM_Light(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.Light(0.5, 0.5, 0.3125, 250, 0); }); }
void BM_Tile(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.TILE(4); }); }
void BM_TileMask(benchmark::State& s) {
  Run(s, Whole(), [](cBitFilter& f) { return f.TileMask(Tile(), 0, 0, true, 50, Colour{-1}); });
}
void BM_Grid(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.Grid(25, 25, true, Colour{255}, 128); }); }
void BM_GlassSlanting(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.GLASS("slanting", 0); }); }
void BM_GlassSquary(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.GLASS("squary", 2); }); }
void BM_Texturize(benchmark::State& s) { Run(s, Whole(), [](cBitFilter& f) { return f.Texturize(Tile()); }); }

KELVANE_BENCHMARK(BM_Rotate30);
KELVANE_BENCHMARK(BM_Rotate30Ellipse);
KELVANE_BENCHMARK(BM_RotateSmooth30);
KELVANE_BENCHMARK(BM_Twirl);
KELVANE_BENCHMARK(BM_Waves);
KELVANE_BENCHMARK(BM_Lens);
KELVANE_BENCHMARK(BM_Bend);
KELVANE_BENCHMARK(BM_Stretch);
KELVANE_BENCHMARK(BM_Fold);
KELVANE_BENCHMARK(BM_Light);
KELVANE_BENCHMARK(BM_Tile);
KELVANE_BENCHMARK(BM_TileMask);
KELVANE_BENCHMARK(BM_Grid);
KELVANE_BENCHMARK(BM_GlassSlanting);
KELVANE_BENCHMARK(BM_GlassSquary);
KELVANE_BENCHMARK(BM_Texturize);

}  // namespace
}  // namespace kelvane
