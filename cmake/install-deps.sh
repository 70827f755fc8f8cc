#!/bin/sh
# Installs what the build, the tests and the tools need, and nothing that is
# already there. Safe to run again; `make deps` calls it before every build.
set -eu

need=""
have_cmd() { command -v "$1" >/dev/null 2>&1; }
have_pkg() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"; }
want_pkg() { have_pkg "$1" || need="$need $1"; }

want_pkg cmake
want_pkg ninja-build
want_pkg g++
want_pkg make
want_pkg binutils
want_pkg file
want_pkg util-linux            # setarch, for ThreadSanitizer without address randomisation
want_pkg googletest            # GoogleTest sources, built by every preset
want_pkg libbenchmark-dev      # Google Benchmark (bench/)
want_pkg valgrind              # instruction counts (make bench-instructions)
want_pkg g++-arm-linux-gnueabihf
want_pkg binutils-arm-linux-gnueabihf
want_pkg qemu-user             # runs the armhf tests
want_pkg libtinyxml2-dev       # the stand-in host's XML streams and program files
want_pkg dpkg-dev              # dpkg-shlibdeps: the Debian packages' dependencies (make package)
want_pkg lintian               # checks the Debian packages
want_pkg nlohmann-json3-dev    # the tests read stephost's JSON trace back (header only)
want_pkg clang                 # the fuzz targets (make fuzz)
want_pkg clang-format          # make test checks every C++ file's format
want_pkg libclang-rt-14-dev    # libFuzzer's runtime for clang 14 (Debian 12)
want_pkg chromium              # make test opens stephost's HTML report in headless Chromium
want_pkg python3               # the report test reads the page and the JUnit XML with it

# The armhf build links the same XML library, from Debian's armhf packages.
if ! dpkg --print-foreign-architectures | grep -qx armhf; then
    SUDO=""
    if [ "$(id -u)" != "0" ]; then SUDO="sudo"; fi
    $SUDO dpkg --add-architecture armhf
fi
want_pkg libtinyxml2-dev:armhf

if [ -n "$need" ]; then
    echo "installing:$need"
    SUDO=""
    if [ "$(id -u)" != "0" ]; then SUDO="sudo"; fi
    export DEBIAN_FRONTEND=noninteractive
    # A mirror caught mid-sync can fail one index; the rest still serve the install.
    $SUDO apt-get update -q || echo "apt-get update reported errors; trying the install anyway"
    # shellcheck disable=SC2086
    $SUDO apt-get install -y -q --no-install-recommends $need
fi

for tool in cmake ninja g++ clang-format arm-linux-gnueabihf-g++ qemu-arm setarch nm readelf dpkg-shlibdeps lintian \
    chromium python3; do
    have_cmd "$tool" || { echo "missing after install: $tool" >&2; exit 1; }
done
[ -f /usr/include/tinyxml2.h ] || { echo "missing: tinyxml2.h" >&2; exit 1; }
[ -f /usr/lib/arm-linux-gnueabihf/libtinyxml2.so ] || { echo "missing: armhf libtinyxml2" >&2; exit 1; }
[ -f /usr/include/nlohmann/json.hpp ] || { echo "missing: nlohmann/json.hpp" >&2; exit 1; }
have_cmd clang++ || { echo "missing after install: clang++" >&2; exit 1; }
[ -f "$(clang++ -print-resource-dir)/lib/linux/libclang_rt.fuzzer-$(uname -m).a" ] ||
    { echo "missing: libFuzzer's runtime for clang" >&2; exit 1; }
[ -f /usr/src/googletest/CMakeLists.txt ] || { echo "missing: /usr/src/googletest" >&2; exit 1; }
echo "dependencies present"
