// Modules of many kinds in one process. Arguments: the modules, each a client_sharable.cpp whose main is checkClient.
#include <pyx/abi/c_api.h>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Module {
    const char* path;
    void* handle;

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

// A value and a failure that a module has made.
struct Given {
    PyxVariantData* names = nullptr;
    AbiErrorRecord failure{};
};

using TakeNames = void(AbiErrorRecord*, PyxVariantData*);

// Nothing from a module of the first release, which has no functions for that.
Given give(const Module& from) {
    Given given;
    if (auto* const giveNames = from.find<PyxVariantData*(AbiErrorRecord*)>("giveNames")) {
        given.names = giveNames(&given.failure);
        require(given.failure.kind == nullptr && given.names != nullptr, "gives nothing", from);
        from.find<TakeNames>("takeNames")(&given.failure, ZVariantData_C_API_constructNull());
    }
    return given;
}

void take(const Module& to, const Given& given) {
    auto* const takeNames = to.find<TakeNames>("takeNames");
    if (given.names == nullptr || takeNames == nullptr) {
        return;
    }
    AbiErrorRecord record;
    takeNames(&record, given.names);
    require(record.kind == nullptr, record.message, to);
    auto* const isLengthError = to.find<bool(const AbiErrorRecord*, const char*)>("isLengthError");
    require(isLengthError(&given.failure, "null"), "does not catch the failure of another module", to);
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
        modules.push_back({path, dlopen(path, RTLD_NOW | RTLD_GLOBAL)});
        if (modules.back().handle == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            std::_Exit(1);
        }
    }
    std::vector<Given> given;
    for (const Module& module : modules) {
        check(module);
        given.push_back(give(module));
        for (const Module& other : modules) {
            take(other, given.back());
            shareClasses(module, other);
        }
    }
    // What a module has made outlives it.
    dlclose(modules.front().handle);
    for (auto module = modules.begin() + 1; module != modules.end(); ++module) {
        check(*module);
        take(*module, given.front());
    }
    for (const Given& each : given) {
        AbiErrorRecord record;
        ZVariantData_C_API_destruct(&record, each.names);
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
