// Data objects on the heap that live by their reference count.
#pragma once

#include <pyx/variant/IVariantData.h>

#include <atomic>
#include <cstdint>
#include <stdexcept>

namespace Quorvane::PYXCORE_PYX::Internal {

// Born with one reference, which belongs to whoever made the object. The count is atomic with sequentially consistent
// order; nothing else in the object is protected.
class IVariantDataRefCounted : public IVariantData {
public:
    IVariantDataRefCounted() = default;
    IVariantDataRefCounted(const IVariantDataRefCounted&) = delete;
    IVariantDataRefCounted& operator=(const IVariantDataRefCounted&) = delete;

    void copy() final { referenceCount.fetch_add(1); }

    void destruct() final {
        // The only reference need not be counted down: an atomic write costs more than the test.
        if (hasOneReference() || referenceCount.fetch_sub(1) == 1) {
            delete this;
        }
    }

    IVariantData* makeUnique() final {
        if (isUnique()) {
            return this;
        }
        IVariantData* const unique = duplicate();
        // Another holder may have let go since the test, so this may be the last reference.
        destruct();
        return unique;
    }

    // A deep copy with a count of one.
    virtual IVariantData* duplicate() const = 0;

    // Whether the caller's reference is the only one. Acquires, so that a writer that finds itself alone sees all that
    // former holders did.
    virtual bool isUnique() const { return hasOneReference(); }

    // Why shared data are not reshaped in place.
    [[noreturn]] static void throwShared() {
        throw std::runtime_error("Reference count is greater than 1 - cannot reshape without reallocating.");
    }

protected:
    bool hasOneReference() const { return referenceCount.load(std::memory_order_acquire) == 1; }

    // The test that protects a reshape in place.
    void requireOneReference() const {
        if (!hasOneReference()) {
            throwShared();
        }
    }

    [[noreturn]] static void throwDoesNotFit() {
        throw std::length_error("Cannot reshape array to given dimensions without reallocating.");
    }

private:
    std::atomic<std::uint32_t> referenceCount{1};
};

}  // namespace Quorvane::PYXCORE_PYX::Internal
