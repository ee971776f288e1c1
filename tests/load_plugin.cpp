// Loads a client's module, which brings the library along, uses it and unloads both, many times. Then leaves both
// loaded when the process ends, with objects of the module that end after all static objects of the library.
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

template <class Function>
Function find(void* module, const char* name) {
    return reinterpret_cast<Function>(dlsym(module, name));
}

bool isLoaded(const char* module) {
    return dlopen(module, RTLD_NOW | RTLD_NOLOAD) != nullptr;
}

}  // namespace

// Takes the paths of the module and of the library, and how many times to unload them.
int main(int, char** arguments) {
    const int rounds = std::atoi(arguments[3]);
    for (int round = 0; round <= rounds; ++round) {
        void* const plugin = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (plugin == nullptr) {
            return std::fprintf(stderr, "%s\n", dlerror()), 1;
        }
        const auto use = find<int (*)()>(plugin, "usePlugin");
        const auto makeHolder = find<void* (*)(void (**)(void*))>(plugin, "makeHolder");
        if (use() != 3) {
            return std::fprintf(stderr, "the module gives another result in round %d\n", round), 1;
        }
        kept.object = makeHolder(&kept.end);
        if (round == rounds) {
            break;
        }
        kept.end(kept.object);
        dlclose(plugin);
        if (isLoaded(arguments[1]) || isLoaded(arguments[2])) {
            return std::fprintf(stderr, "something is still loaded after round %d\n", round), 1;
        }
    }
}
