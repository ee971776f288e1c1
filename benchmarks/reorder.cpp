// Row-major arrays turned to column-major beside Eigen's transposition, and beside the copy of as many bytes that no
// transposition can beat. Every contender writes to fresh memory.

#include "contenders.h"

#include <pyx/variant/ZVariant.h>

#include <Eigen/Core>
#include <unsupported/Eigen/CXX11/Tensor>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>

using namespace Quorvane::Pyx;

namespace {

// Row-major data with all axes in reverse order are the column-major data of the same array.
template <class T, std::size_t rank>
auto transposeWithEigen(const T* elements, const std::array<std::uint64_t, rank>& lengths) {
    if constexpr (rank == 2) {
        using Matrix = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
        const Eigen::Map<const Matrix> source(elements, static_cast<Eigen::Index>(lengths[0]),
                                              static_cast<Eigen::Index>(lengths[1]));
        return Matrix(source.transpose());
    } else {
        using Tensor = Eigen::Tensor<T, int{rank}, Eigen::RowMajor>;
        Eigen::array<Eigen::Index, rank> shape;
        Eigen::array<int, rank> axes;
        for (std::size_t k = 0; k < rank; ++k) {
            shape[k] = static_cast<Eigen::Index>(lengths[k]);
            axes[k] = static_cast<int>(rank - 1 - k);
        }
        return Tensor(Eigen::TensorMap<const Tensor>(elements, shape).shuffle(axes));
    }
}

template <class T, std::size_t rank>
void addReorder(const std::string& task, const std::array<std::uint64_t, rank>& lengths) {
    ZVariant source = ZVariant::allocate<T>(ArrayDimensionsView(lengths.data(), rank));
    std::fill_n(source.mutableData<T>(), source.elementCount(), T{1});
    addContender(task, "ours", [source] {
        ZVariant reordered = source.reordered(DataOrdering::ColumnMajor);
        benchmark::DoNotOptimize(reordered);
    });
    addContender(task, "Eigen", [source, lengths] {
        const auto transposed = transposeWithEigen(source.data<T>(), lengths);
        benchmark::DoNotOptimize(transposed.data());
        benchmark::ClobberMemory();
    });
    addContender(task, "memcpy", [source] {
        const std::size_t size = source.elementCount() * sizeof(T);
        void* const copy = ::operator new(size);
        std::memcpy(copy, source.data<T>(), size);
        benchmark::DoNotOptimize(copy);
        benchmark::ClobberMemory();
        ::operator delete(copy);
    });
}

}  // namespace

void addReorders() {
    addReorder<double, 2>("reorder double 4096x4096", {4096, 4096});
    addReorder<float, 2>("reorder float 1000000x3", {1'000'000, 3});
    addReorder<double, 3>("reorder double 256x256x256", {256, 256, 256});
    addReorder<float, 5>("reorder float 20x20x20x20x20", {20, 20, 20, 20, 20});
}
