#!/bin/sh
# Checks what a host relies on in the built module: exactly the two entry
# points are exported, in every configuration, nothing it imports can throw
# an exception into the host, the armhf build is a 32-bit ARM hard-float
# (ARMv7-A, VFPv3-D16) shared object, and stripped it fits the size budget
# of the small device it runs on.
set -eu
cd "$(dirname "$0")/.."

status=0
fail() { echo "FAIL: $*" >&2; status=1; }

expected="CreateFunction
InitializeModule"

# What a module that throws nothing must not import: the throwing operator
# new and new[] (32- and 64-bit sizes, plain and aligned; the nothrow forms
# are allowed), the runtime's throw, rethrow, catch and cleanup entry points,
# the personality routine that only code with handlers or cleanups needs, and
# libstdc++'s std::__throw_* helpers (what a container or a std::mutex calls
# to report a failure). The sanitizer builds import their runtime's
# interceptors besides (malloc, pthread_*, __asan_*, __ubsan_*, __tsan_*),
# none of which is on this list.
throwing='^(_Zn[wa][mj](St11align_val_t)?|__cxa_(throw|rethrow|allocate_exception|begin_catch|end_catch|end_cleanup|throw_bad_array_new_length|bad_cast|bad_typeid)|_Unwind_Resume|__gxx_personality_v0|_ZSt[0-9]+__throw_[a-z_]+.*)$'

for preset in native asan-ubsan tsan armhf; do
    so="build/$preset/_binlinux/Flukokzad.so"
    [ -f "$so" ] || { fail "$so was not built"; continue; }
    nm=nm
    [ "$preset" = armhf ] && nm=arm-linux-gnueabihf-nm
    exported=$($nm -D --defined-only "$so" | awk '{print $3}' | sort)
    if [ "$exported" = "$expected" ]; then
        echo "ok: $so exports exactly InitializeModule and CreateFunction"
    else
        fail "$so exports:"; echo "$exported" >&2
    fi
    imported=$($nm -D --undefined-only "$so" | awk '{print $2}' | sed 's/@.*//' | grep -E "$throwing" || true)
    if [ -z "$imported" ]; then
        echo "ok: $so imports nothing that throws"
    else
        fail "$so imports what throws:"; echo "$imported" >&2
    fi
done

so=build/armhf/_binlinux/Flukokzad.so
if [ -f "$so" ]; then
    header=$(readelf -h "$so")
    attributes=$(arm-linux-gnueabihf-readelf -A "$so")
    echo "$header" | grep -q "Class:.*ELF32" || fail "$so is not ELF32"
    echo "$header" | grep -q "Machine:.*ARM" || fail "$so is not ARM"
    echo "$header" | grep -q "Type:.*DYN" || fail "$so is not a shared object"
    echo "$header" | grep -q "hard-float ABI" || fail "$so is not hard-float"
    echo "$attributes" | grep -q "Tag_CPU_arch: v7" || fail "$so is not ARMv7"
    echo "$attributes" | grep -q "Tag_FP_arch: VFPv3-D16" || fail "$so is not VFPv3-D16"
    echo "$attributes" | grep -q "Tag_ABI_VFP_args: VFP registers" || fail "$so does not pass floats in VFP registers"
    [ $status -eq 0 ] && echo "ok: $so is a 32-bit ARMv7-A hard-float (VFPv3-D16) shared object"

    # Every step class costs flash and RAM on the target: the module with all
    # its classes stays within 176 KiB stripped (the unwinding tables went
    # with the exceptions).
    budget=180224
    stripped=$(mktemp)
    arm-linux-gnueabihf-strip -o "$stripped" "$so"
    size=$(stat -c %s "$stripped")
    rm -f "$stripped"
    if [ "$size" -le "$budget" ]; then
        echo "ok: $so is $size bytes stripped (budget $budget)"
    else
        fail "$so is $size bytes stripped, over the budget of $budget"
    fi
fi
exit $status
