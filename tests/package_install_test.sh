#!/bin/sh
# The Debian packages as a machine receives them: their fields and file modes,
# then unpacked into a scratch root and used from there, away from the build
# tree. A file the packages miss, or put where a host does not look, fails here.
#
# usage: package_install_test.sh PACKAGE_DIR VERSION ARCH CMAKE [EMULATOR...]
#   EMULATOR runs the packaged programs of a cross build (qemu-arm ...); the
#   headers package and its CMake consumer are checked without one only.
set -eu

packages=$1 version=$2 arch=$3 cmake=$4
shift 4
# "$@" is now the emulator, possibly empty.

fail() { echo "FAIL: $*" >&2; exit 1; }
ok() { echo "ok: $*"; }

tmp=$(mktemp -d "${TMPDIR:-/tmp}/fluko-package.XXXXXX")
trap 'rm -rf "$tmp"' EXIT
root=$tmp/root
elsewhere=$tmp/elsewhere
mkdir -p "$root" "$elsewhere"

runtime=$packages/flukokzad_${version}_${arch}.deb
dev=$packages/flukokzad-dev_${version}_all.deb
[ -f "$runtime" ] || fail "$runtime was not built"
debs=$runtime
if [ $# -eq 0 ]; then
    [ -f "$dev" ] || fail "$dev was not built"
    debs="$runtime $dev"
fi

# --- Fields and modes ------------------------------------------------------------
field() { dpkg-deb -f "$1" "$2"; }
for deb in $debs; do
    name=$(basename "$deb")
    case $name in
        flukokzad-dev_*) package=flukokzad-dev want_arch=all ;;
        *) package=flukokzad want_arch=$arch ;;
    esac
    [ "$(field "$deb" Package)" = "$package" ] || fail "$name: Package is $(field "$deb" Package)"
    [ "$(field "$deb" Version)" = "$version" ] || fail "$name: Version is $(field "$deb" Version)"
    [ "$(field "$deb" Architecture)" = "$want_arch" ] || fail "$name: Architecture is $(field "$deb" Architecture)"
    for f in Maintainer Section Priority Description; do
        [ -n "$(field "$deb" $f)" ] || fail "$name has no $f"
    done
    # A summary line and a long description under it.
    [ "$(field "$deb" Description | wc -l)" -gt 2 ] || fail "$name has no long description"

    # Owned by root; directories and programs 0755, everything else 0644.
    dpkg-deb -c "$deb" | while read -r mode owner _ _ _ path _; do
        [ "$owner" = root/root ] || fail "$name: $path is owned by $owner"
        case $mode:$path in
            d*) [ "$mode" = drwxr-xr-x ] || fail "$name: directory $path is $mode" ;;
            l*) ;;
            *:./usr/lib/flukokzad/stephost) [ "$mode" = -rwxr-xr-x ] || fail "$name: $path is $mode" ;;
            *) [ "$mode" = -rw-r--r-- ] || fail "$name: $path is $mode" ;;
        esac
    done
    ok "$name: $package $version $want_arch, owned by root, modes 0755 and 0644"
done

depends=$(field "$runtime" Depends)
names=$(echo "$depends" | tr ',' '\n' | awk '{print $1}')
for library in libc6 libstdc++6 libgcc-s1 libtinyxml2-9; do
    echo "$names" | grep -Fxq "$library" || fail "flukokzad does not depend on $library: $depends"
done
ok "flukokzad depends on $depends"

# shellcheck disable=SC2086
lintian --fail-on error $debs >"$tmp/lintian.log" 2>&1 || fail "lintian finds errors: $(cat "$tmp/lintian.log")"
report=$(grep -v "running with root privileges" "$tmp/lintian.log" || true)
ok "lintian finds no errors${report:+:
$report}"

# --- Unpacked ------------------------------------------------------------------------
for deb in $debs; do dpkg-deb -x "$deb" "$root"; done
plugin=$root/usr/lib/flukokzad
examples=$root/usr/share/flukokzad/examples
for f in "$plugin/stephost" "$plugin/_binlinux/Flukokzad.so" "$plugin/_binlinux/CollectionsEx.so" \
         "$examples/demo.xml" "$examples/all-steps.xml" "$root/usr/share/doc/flukokzad/README.md" \
         "$root/usr/share/doc/flukokzad/steps.md" "$root/usr/share/doc/flukokzad/report.png" \
         "$root/usr/share/doc/flukokzad/copyright" \
         "$root/usr/share/man/man1/stephost.1.gz"; do
    [ -f "$f" ] || fail "${f#"$root"} is not in the package"
done
# The installed README and manual page name the installed paths, not the build tree's.
readme=$root/usr/share/doc/flukokzad/README.md
! grep -q "build/native/stephost" "$readme" || fail "the installed README names build/native/stephost"
grep -q "stephost run /usr/share/flukokzad/examples/demo.xml" "$readme" || fail "the installed README names no installed example"
grep -q "](report.png)" "$readme" || fail "the installed README shows no report.png beside it"
zcat "$root/usr/share/man/man1/stephost.1.gz" | grep -q "/usr/share/doc/flukokzad/steps.md" ||
    fail "the manual page does not name the installed step reference"
[ "$(readlink "$root/usr/bin/stephost")" = ../lib/flukokzad/stephost ] ||
    fail "/usr/bin/stephost links to '$(readlink "$root/usr/bin/stephost")'"

case $arch in
    armhf) machine="ARM, EABI5" ;;
    amd64) machine="x86-64" ;;
    *) machine="" ;;
esac
for f in "$plugin/stephost" "$plugin/_binlinux/Flukokzad.so" "$plugin/_binlinux/CollectionsEx.so"; do
    described=$(file -b "$f")
    case $described in *", stripped"*) ;; *) fail "${f#"$root"} is not stripped: $described" ;; esac
    case $described in *"$machine"*) ;; *) fail "${f#"$root"} is not $machine: $described" ;; esac
done
ok "the programs and modules are stripped $arch binaries"

# stephost runs in the plug-in folder, as a host does, on the installed examples.
demo=$examples/demo.xml
demo_title="program  .*: 15 steps"
output=$(cd "$plugin" && "$@" ./stephost run "$demo" 2>&1) || fail "stephost run in the plug-in folder: $output"
echo "$output" | grep -q "$demo_title" || fail "stephost run printed: $output"
output=$(cd "$plugin" && "$@" ./stephost check "$examples/all-steps.xml" 2>&1) ||
    fail "stephost check in the plug-in folder: $output"
[ "$(echo "$output" | grep -c "identical after reloading")" = 3 ] || fail "stephost check printed: $output"
ok "the installed stephost runs and checks the installed examples in the plug-in folder"

# From any other folder: the module named with --module, and through the
# /usr/bin link, which finds _binlinux/ beside the program it links to.
output=$(cd "$elsewhere" && "$@" "$plugin/stephost" --module "$plugin/_binlinux/Flukokzad.so" run "$demo" 2>&1) ||
    fail "stephost --module from another folder: $output"
output=$(cd "$elsewhere" && "$@" "$root/usr/bin/stephost" run "$demo" 2>&1) ||
    fail "/usr/bin/stephost from another folder: $output"
echo "$output" | grep -q "$demo_title" || fail "/usr/bin/stephost from another folder printed: $output"
ok "the installed stephost runs from another folder, with --module and through /usr/bin/stephost"

# --- The headers and find_package ----------------------------------------------------
[ $# -eq 0 ] || exit 0

consumer=$tmp/consumer
mkdir -p "$consumer"
# Each installed header compiles on its own, included twice.
headers=$(cd "$root/usr/include/flukokzad" && find . -name '*.h' | sed 's|^\./||' | sort)
[ -n "$headers" ] || fail "flukokzad-dev installs no headers"
for header in $headers; do
    unit=$consumer/alone_$(echo "$header" | tr '/.' '__').cpp
    printf '#include "%s"\n#include "%s"\n' "$header" "$header" >"$unit"
done
cat >"$consumer/CMakeLists.txt" <<'EOF'
cmake_minimum_required(VERSION 3.23)
project(FlukokzadConsumer CXX)
find_package(Flukokzad 0.9 CONFIG REQUIRED)
file(GLOB alone alone_*.cpp)
add_executable(consumer main.cpp ${alone})
target_compile_options(consumer PRIVATE -Wall -Wextra -Werror)
target_link_libraries(consumer PRIVATE Flukokzad::interfaces ${CMAKE_DL_LIBS})
file(WRITE ${CMAKE_BINARY_DIR}/plugin-dir "${Flukokzad_PLUGIN_DIR}")
EOF
# A harness of its own: loads the installed module by its path and asks it
# for a step, as a host does, with the module making its own host objects
# from _binlinux/CollectionsEx.so.
cat >"$consumer/main.cpp" <<'EOF'
#include <dlfcn.h>

#include <cstdio>

#include "module/Flukokzad.h"
#include "parameters/ParameterRecord.h"
#include "runtime/SmartPtr.h"

static_assert(IID_IStep == __IIDOfc("IStep"), "identifiers come from the names");
static_assert(iidOf<IParameters>() == IID_IParameters, "every interface knows its identifier");

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    void* library = dlopen(argv[1], RTLD_NOW);
    if (!library) {
        std::printf("cannot load %s: %s\n", argv[1], dlerror());
        return 1;
    }
    auto create = reinterpret_cast<CREATEFUNCTIONFUNCTION>(dlsym(library, "CreateFunction"));
    auto initialize = reinterpret_cast<INITIALIZEMODULEFUNCTION>(dlsym(library, "InitializeModule"));
    if (!create || !initialize) return 1;
    const wchar_t name[] = L"GCUIRefresh";
    CREATEFUNCTION creator = nullptr;
    if (create(tagREFString{11, name}, &creator) != S_OK || !creator) return 1;
    SmartPtr<IStep> step;
    if (creator(nullptr, &IID_IStep, step.put_void()) != S_OK || !step) return 1;
    SmartPtr<IParameters> parameters = step.query<IParameters>();
    int32_t count = 0;
    if (!parameters || parameters->get_Count(&count) != S_OK) return 1;
    int32_t flags = 0;
    if (parameters->get_ItemFlags(0, &flags) != S_OK) return 1;
    std::printf("GCUIRefresh: %d parameters, the first of kind %d\n", count, flags & PARAMETER_KIND_MASK);
    return count > 0 ? 0 : 1;
}
EOF
"$cmake" -S "$consumer" -B "$consumer/build" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" >"$tmp/configure.log" 2>&1 ||
    { cat "$tmp/configure.log"; fail "find_package(Flukokzad CONFIG) against the unpacked packages"; }
"$cmake" --build "$consumer/build" >"$tmp/build.log" 2>&1 ||
    { cat "$tmp/build.log"; fail "a consumer of Flukokzad::interfaces does not compile"; }
[ "$(cat "$consumer/build/plugin-dir")" = "$plugin" ] ||
    fail "Flukokzad_PLUGIN_DIR is $(cat "$consumer/build/plugin-dir"), not $plugin"
ok "find_package(Flukokzad CONFIG) finds the unpacked headers; each of the $(echo "$headers" | wc -l) compiles alone"
output=$(cd "$plugin" && "$consumer/build/consumer" "$plugin/_binlinux/Flukokzad.so" 2>&1) ||
    fail "the consumer cannot create a step through the installed module: $output"
ok "the consumer creates a step through the installed module: $output"
