// Loads a client's module, which brings the library along, uses it and unloads both, twenty times.
#include <dlfcn.h>

#include <cstdio>

int main(int, char** arguments) {
    for (int round = 0; round < 20; ++round) {
        void* const plugin = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (plugin == nullptr) {
            return std::fprintf(stderr, "%s\n", dlerror()), 1;
        }
        const auto use = reinterpret_cast<int (*)()>(dlsym(plugin, "usePlugin"));
        if (use == nullptr || use() != 3) {
            return std::fprintf(stderr, "the module gives another result in round %d\n", round), 1;
        }
        dlclose(plugin);
        if (dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) {
            return std::fprintf(stderr, "the module is still loaded after round %d\n", round), 1;
        }
    }
}
