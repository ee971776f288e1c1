// A host of plugins, a program and a library for programs in other languages. It hands each plugin of plugin.h an array
// and settings, and then an array that each of them refuses.
//
//   plugin_host MODULE...
#include "plugin.h"

#include <dlfcn.h>
#include <pyx/pyx.h>

#include <cmath>
#include <exception>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

// Owns what a PluginTask leads to.
class Task {
public:
    Task(const ZVariant& grid, const PropertyMap& settings) : grid_(grid) {
        const FlatTree flat = flatten(settings);
        paths_ = ZVariantAbi::fromData(flat.paths);
        for (const ZVariant& value : flat.values) {
            values_.push_back(ZVariantAbi(value));
        }
        for (const ZVariantAbi& value : values_) {
            handles_.push_back(value.handle());
        }
    }

    PluginTask borrow() const { return {grid_.handle(), paths_.handle(), handles_.data(), handles_.size()}; }

private:
    ZVariantAbi grid_;
    ZVariantAbi paths_;
    std::vector<ZVariantAbi> values_;
    std::vector<PyxVariantData*> handles_;
};

struct Outcome {
    ZVariant array;
    ZVariant text;
};

// Raises what the plugin has recorded.
Outcome run(PluginFunction* plugin, const Task& task) {
    const PluginTask borrowed = task.borrow();
    PluginResult result{};
    callFlat(plugin, &borrowed, &result);
    return {ZVariant::adopt(result.array), ZVariant::adopt(result.text)};
}

std::string failureOf(PluginFunction* plugin, const Task& task) {
    const auto tell = [](const char* name, const std::exception& error) {
        return std::string("std::") + name + ", \"" + error.what() + '"';
    };
    try {
        (void)run(plugin, task);
        return "none";
    } catch (const std::out_of_range& error) {
        return tell("out_of_range", error);
    } catch (const std::invalid_argument& error) {
        return tell("invalid_argument", error);
    } catch (const std::length_error& error) {
        return tell("length_error", error);
    } catch (const std::runtime_error& error) {
        return tell("runtime_error", error);
    } catch (const std::bad_alloc& error) {
        return tell("bad_alloc", error);
    }
}

struct Report {
    Outcome outcome;
    std::string failure;
};

Report use(PluginFunction* plugin) {
    const PropertyMap settings{{"stations", ZVariant::fromData<std::string>({"north", "harbour", "hill"})},
                               {"unit", "mm"},
                               {"shares", PropertyMap{{"whole", 100}}},
                               {"choose", PropertyMap{{"least", 10.}}},
                               {"histogram", PropertyMap{{"bins", 4}}}};
    const ZVariant rain = ZVariant::fromData({2., 4., 6., 8., 0., 1., 0., 3., 5., 5., 10., 5.}, {3, 4});
    // A fourth station, which has no name, and whose number was lost.
    const ZVariant broken = ZVariant::fromData({0., 0., 0., std::nan("")}, {4, 1});
    return {run(plugin, Task(rain, settings)), failureOf(plugin, Task(broken, settings))};
}

void print(const std::string& name, const Report& report, const char* end) {
    const ZVariant& array = report.outcome.array;
    std::cout << name << ": " << report.outcome.text << '\n';
    if (array.dimensions().size() == 2) {
        for (std::uint64_t row = 0; row < array.dimensions()[0]; ++row) {
            std::cout << "    " << array.slice({row, all}) << '\n';
        }
    } else {
        std::cout << "    " << array << '\n';
    }
    std::cout << "    refused: " << report.failure << "\n    " << end << '\n' << std::flush;
}

class Module {
public:
    explicit Module(const char* path) : path_(path), handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) {
            throw std::runtime_error(dlerror());
        }
    }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module() { unload(); }

    PluginFunction* plugin() const {
        void* const function = dlsym(handle_, "runPlugin");
        if (function == nullptr) {
            throw std::runtime_error(dlerror());
        }
        return reinterpret_cast<PluginFunction*>(function);
    }

    // Whether the module is gone from the process.
    bool unload() {
        if (void* const handle = std::exchange(handle_, nullptr)) {
            dlclose(handle);
        }
        return dlopen(path_, RTLD_NOW | RTLD_NOLOAD) == nullptr;
    }

private:
    const char* path_;
    void* handle_;
};

}  // namespace

void useModule(AbiErrorRecord* record, const char* path) {
    guardAbiCall(record, [&] {
        Module module(path);
        const Report report = use(module.plugin());
        const char* const end = module.unload() ? "unloaded before this was printed" : "cannot be unloaded";
        const std::string name(path);
        print(name.substr(name.find_last_of('/') + 1), report, end);
    });
}

void useFunction(AbiErrorRecord* record, const char* name, PluginFunction* plugin) {
    guardAbiCall(record, [&] { print(name, use(plugin), "stays: it is a part of the program"); });
}

int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        AbiErrorRecord record;
        useModule(&record, arguments[i]);
        if (record.kind != nullptr) {
            std::cerr << record.kind << ": " << record.message << '\n';
            return 1;
        }
    }
    return 0;
}
