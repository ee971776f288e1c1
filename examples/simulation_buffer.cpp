// A simulation's own memory as a value: shown without a copy while the simulation runs, kept when it has gone.
#include <pyx/pyx.h>

#include <iostream>
#include <memory>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

// Heat that spreads along a rod, whose ends are kept cold. Works on a vector of its own, in place, at every step.
class HeatedRod {
public:
    explicit HeatedRod(std::size_t cells) : temperatures_(cells, 0.0), shown_(temperatures_.data(), {cells}) {
        temperatures_[cells / 2] = 64;
    }

    // Each cell takes half of its heat from its neighbours.
    void step() {
        double left = 0;
        for (std::size_t i = 1; i + 1 < temperatures_.size(); ++i) {
            const double here = temperatures_[i];
            temperatures_[i] = (left + 2 * here + temperatures_[i + 1]) / 4;
            left = here;
        }
    }

    ZVariant temperatures() { return shown_.value(); }

    const double* memory() const { return temperatures_.data(); }

private:
    std::vector<double> temperatures_;
    // Behind what it shows, and so gone before it.
    ExternalBuffer<double> shown_;
};

}  // namespace

int main() {
    auto rod = std::make_unique<HeatedRod>(7);
    const ZVariant live = rod->temperatures();
    const bool sameMemory = live.data<double>() == rod->memory();
    std::cout << "A rod of 7 cells, heated in the middle. The value looks at the simulation's own memory: "
              << (sameMemory ? "nothing was copied" : "something was copied") << ".\n\n";

    ZVariant kept;
    for (int step = 0; step <= 3; ++step) {
        std::cout << "after step " << step << "   " << live << '\n';
        if (step == 1) {
            // Whoever wants to keep a moment takes a copy of it.
            kept = live.reshaped(live.dimensions());
        }
        rod->step();
    }

    // A value is written for its holder alone.
    ZVariant edited = live;
    edited.mutableElementAt<double>(0) = 100;

    const ZVariant rounded = live.convertTo(WellKnownType::int32);
    rod.reset();
    std::cout << "\nThe simulation has ended, and its memory is gone. What was held is still there:\n\n"
              << "the live value " << live << '\n'
              << "as integers    " << rounded << '\n'
              << "edited         " << edited << '\n'
              << "after step 1   " << kept << '\n';

    const bool right = sameMemory && live.elementAt<double>(0) == 0 && kept.elementAt<double>(3) == 32;
    return right ? 0 : 1;
}
