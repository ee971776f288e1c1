# What the scripts share, for bash with `set -euo pipefail`.
# shellcheck shell=bash disable=SC2034

# Debian packages by what they are for: the library and its clients, the tests, what scripts/check adds.
build_packages=(g++ cmake ninja-build clang libc++-dev libc++abi-dev)
test_packages=(gdb libgtest-dev libgmock-dev pkgconf python3 python3-numpy valgrind)
check_packages=(git clang-format clang-tidy doxygen libclang-rt-14-dev)

# A heading of one line, bold where the output is a terminal.
heading() {
    if [ -t 1 ]; then printf '\n\e[1m== %s\e[0m\n' "$*"; else printf '\n== %s\n' "$*"; fi
}

# Runs a command without its output, which is shown only when the command fails.
quietly() {
    local log
    log=$(mktemp)
    if "$@" >"$log" 2>&1; then
        rm -f "$log"
    else
        local status=$?
        cat "$log" >&2
        rm -f "$log"
        printf 'failed with exit code %s: %s\n' "$status" "$*" >&2
        return "$status"
    fi
}

# Makes sure that the named Debian packages are installed: root installs what is missing, anybody else is told how to.
require_packages() {
    local package missing=()
    for package in "$@"; do
        if [ "$(dpkg-query --show --showformat '${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
            missing+=("$package")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    if [ "$(id -u)" -ne 0 ]; then
        printf 'Packages are missing. Install them and try again:\n' >&2
        printf 'sudo apt-get update && sudo apt-get install -y --no-install-recommends %s\n' "${missing[*]}" >&2
        exit 1
    fi
    heading "Installing ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    quietly apt-get update
    quietly apt-get install -y --no-install-recommends "${missing[@]}"
}
