// Modules of many kinds in one process. Arguments: the modules, each a client_sharable.cpp whose main is checkClient.
#include <pyx/abi/c_api.h>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
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

// A value and a failure of one module in another one; those of the first release have no functions for that.
void exchange(const Module& from, const Module& to) {
    auto* const give = from.find<PyxVariantData*(AbiErrorRecord*)>("giveNames");
    auto* const take = to.find<void(AbiErrorRecord*, PyxVariantData*)>("takeNames");
    auto* const isLengthError = from.find<bool(const AbiErrorRecord*, const char*)>("isLengthError");
    if (give == nullptr || take == nullptr) {
        return;
    }
    AbiErrorRecord record;
    PyxVariantData* const names = give(&record);
    require(record.kind == nullptr && names != nullptr, "gives nothing", from);
    take(&record, names);
    require(record.kind == nullptr, record.message, to);
    ZVariantData_C_API_destruct(&record, names);
    take(&record, ZVariantData_C_API_constructNull());
    require(isLengthError(&record, "null"), "does not catch the failure of another module", from);
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
    for (const Module& module : modules) {
        check(module);
        for (const Module& other : modules) {
            exchange(module, other);
        }
    }
    dlclose(modules.front().handle);
    std::for_each(modules.begin() + 1, modules.end(), check);
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
