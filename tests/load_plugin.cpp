// Loads a client's module, which brings the library along, uses it and unloads both, many times: neither may stay. Then
// leaves both loaded when the process ends, with an object of the module that ends after all static objects of the
// library. Arguments: the module, the library, how many times to unload them.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace {

// Constructed before the library, so it ends later.
struct Kept {
    void* object = nullptr;
    void (*end)(void*) = nullptr;
    ~Kept() {
        if (end != nullptr) {
            end(object);
        }
    }
} kept;

void require(bool holds, const char* what, int round) {
    if (!holds) {
        std::fprintf(stderr, "%s in round %d\n", what, round);
        std::_Exit(1);
    }
}

}  // namespace

int main(int, char** arguments) {
    const int rounds = std::atoi(arguments[3]);
    for (int round = 0; round <= rounds; ++round) {
        void* const plugin = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        require(plugin != nullptr, "nothing is loaded", round);
        require(reinterpret_cast<int (*)()>(dlsym(plugin, "usePlugin"))() == 3, "another result", round);
        kept.object = reinterpret_cast<void* (*)(void (**)(void*))>(dlsym(plugin, "makeHolder"))(&kept.end);
        if (round == rounds) {
            break;
        }
        kept.end(kept.object);
        dlclose(plugin);
        require(dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD) == nullptr, "the module stays", round);
        require(dlopen(arguments[2], RTLD_NOW | RTLD_NOLOAD) == nullptr, "the library stays", round);
    }
}
