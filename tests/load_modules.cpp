// Modules of many kinds in one process. Arguments: the modules, each a client_sharable.cpp whose main is checkClient.
#include <pyx/abi/c_api.h>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

struct Module {
    const char* path;
    void* handle = dlopen(path, RTLD_NOW | RTLD_GLOBAL);
    // A value and a failure that it has made.
    PyxVariantData* names = nullptr;
    AbiErrorRecord failure{};

    template <class Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(dlsym(handle, name));
    }
};

void require(bool holds, const char* what, const Module& module) {
    if (!holds) {
        std::fprintf(stderr, "%s: %s\n", module.path, what);
        std::_Exit(1);
    }
}

void check(const Module& module) {
    // In C++, as main is where it is renamed.
    auto* const checkClient = module.find<int()>("_Z11checkClientv");
    require(checkClient != nullptr && checkClient() == 0, "fails beside the others", module);
}

// A module of the first release has no functions for this.
void giveAndTake(const Module& from, const Module& to) {
    auto* const take = to.find<bool(const AbiErrorRecord*, PyxVariantData*)>("takeFromModule");
    if (from.names != nullptr && take != nullptr) {
        require(take(&from.failure, from.names), "does not take what another module gives", to);
    }
}

// Modules of one kind pass values by reference and catch each other's exceptions by their class.
void shareClasses(const Module& left, const Module& right) {
    auto* const leftKind = left.find<const char*()>("kindOfModule");
    auto* const rightKind = right.find<const char*()>("kindOfModule");
    if (leftKind != nullptr && rightKind != nullptr && std::strcmp(leftKind(), rightKind()) == 0) {
        auto* const catches = left.find<bool(void*)>("catchesDoubled");
        require(catches(dlsym(right.handle, "throwDoubled")), "does not share classes with its kind", left);
    }
}

void useTogether(const std::vector<const char*>& paths) {
    std::vector<Module> modules;
    for (const char* const path : paths) {
        modules.push_back({path});
        require(modules.back().handle != nullptr, "is not loaded", modules.back());
    }
    for (Module& module : modules) {
        check(module);
        if (auto* const give = module.find<PyxVariantData*(AbiErrorRecord*)>("giveToModule")) {
            module.names = give(&module.failure);
        }
        for (const Module& other : modules) {
            giveAndTake(module, other);
            shareClasses(module, other);
        }
    }
    // What a module has made outlives it.
    dlclose(modules.front().handle);
    for (auto module = modules.begin() + 1; module != modules.end(); ++module) {
        check(*module);
        giveAndTake(modules.front(), *module);
    }
    for (const Module& module : modules) {
        AbiErrorRecord record;
        ZVariantData_C_API_destruct(&record, module.names);
    }
}

// Each combination in a process of its own.
int failures = 0;
void useInProcess(const std::vector<const char*>& paths) {
    const pid_t child = fork();
    if (child == 0) {
        useTogether(paths);
        std::_Exit(0);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != 0) {
        ++failures;
        for (const char* const path : paths) {
            std::fprintf(stderr, "  with %s\n", path);
        }
    }
}

}  // namespace

int main(int count, char** arguments) {
    std::vector<const char*> paths(arguments + 1, arguments + count);
    for (const char* const first : paths) {
        for (const char* const second : paths) {
            useInProcess(first == second ? std::vector{first} : std::vector{first, second});
        }
    }
    useInProcess(paths);
    std::reverse(paths.begin(), paths.end());
    useInProcess(paths);
    return failures != 0 || paths.empty();
}
