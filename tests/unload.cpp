// Loads the library, uses it and unloads it, many times: it must be gone each time, not pinned by unique symbols.
#include <pyx/abi/c_api.h>

#include <dlfcn.h>

#include <cstdio>

int main(int, char** arguments) {
    for (int round = 0; round < 200; ++round) {
        void* const library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) {
            return std::fprintf(stderr, "%s\n", dlerror()), 1;
        }
        const auto construct = reinterpret_cast<decltype(&ZVariantData_C_API_constructScalar)>(
            dlsym(library, "ZVariantData_C_API_constructScalar"));
        const auto convert = reinterpret_cast<decltype(&ZVariantData_C_API_convertDataTo)>(
            dlsym(library, "ZVariantData_C_API_convertDataTo"));
        const auto destruct =
            reinterpret_cast<decltype(&ZVariantData_C_API_destruct)>(dlsym(library, "ZVariantData_C_API_destruct"));
        AbiErrorRecord record;
        const double value = 1.5;
        PyxVariantData* const scalar = construct(&record, &value, 0x0001);
        PyxVariantData* const text = convert(&record, scalar, 0x0010, 2);
        destruct(&record, text);
        convert(&record, scalar, 0x0020, 0);
        if (record.kind == nullptr) {
            return std::fprintf(stderr, "a conversion to an unknown type did not fail\n"), 1;
        }
        destruct(&record, scalar);
        dlclose(library);
        if (dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) {
            return std::fprintf(stderr, "still loaded after round %d\n", round), 1;
        }
    }
}
