#!/usr/bin/env bash
# Builds and runs a small program outside the tree. Arguments: how it finds PyxCore (install, pkg-config, package or
# subproject), the compiler, the source tree and the build tree.
set -euo pipefail
way=$1 compiler=$2 source=$3 build=$4
consumer=$source/tests/consumer
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Makes the program with CMake; further arguments are settings.
build_with_cmake() {
    cmake -S "$consumer" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" "$@" >"$work/log" &&
        cmake --build "$work/build" >>"$work/log" || { cat "$work/log" >&2; exit 1; }
    program=$work/build/consumer
}

case $way in
    install)
        cmake --install "$build" --prefix "$work/prefix" >/dev/null
        # An installed tree can be moved.
        mv "$work/prefix" "$work/moved"
        build_with_cmake -DCMAKE_PREFIX_PATH="$work/moved"
        ;;
    pkg-config)
        cmake --install "$build" --prefix "$work/prefix" >/dev/null
        export PKG_CONFIG_PATH
        PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name pyxcore.pc)")
        # shellcheck disable=SC2046
        "$compiler" -std=c++17 "$consumer/consumer.cpp" -o "$work/consumer" $(pkg-config --cflags --libs pyxcore) \
            -Wl,-rpath,"$(pkg-config --variable=libdir pyxcore)"
        program=$work/consumer
        ;;
    package)
        cpack --config "$build/CPackConfig.cmake" -B "$work" >/dev/null
        for package in "$work"/libpyxcore_*.deb "$work"/libpyxcore-dev_*.deb; do
            dpkg-deb --extract "$package" "$work/root"
        done
        build_with_cmake -DCMAKE_PREFIX_PATH="$work/root/usr"
        ;;
    subproject)
        build_with_cmake -DPYXCORE_SOURCE="$source"
        ;;
esac
"$program"
