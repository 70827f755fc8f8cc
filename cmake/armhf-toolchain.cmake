# Cross-build for the product's target: 32-bit ARM Linux, ARMv7-A with
# VFPv3-D16, hard-float calling convention. Tests run through qemu-arm with
# the Debian cross sysroot as the dynamic loader's root.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

set(FLUKO_ARM_FLAGS "-march=armv7-a -mfpu=vfpv3-d16 -mfloat-abi=hard")
set(CMAKE_C_FLAGS_INIT "${FLUKO_ARM_FLAGS}")
set(CMAKE_CXX_FLAGS_INIT "${FLUKO_ARM_FLAGS}")

set(FLUKO_ARM_SYSROOT /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH ${FLUKO_ARM_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Debian's armhf packages (tinyxml2, for the stand-in host) bring their own
# C library into /usr/lib/arm-linux-gnueabihf, which the loader's cache also
# lists; LD_LIBRARY_PATH keeps the C and C++ runtimes those of the sysroot the
# loader comes from, so loader and C library always match.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${FLUKO_ARM_SYSROOT} -E LD_LIBRARY_PATH=${FLUKO_ARM_SYSROOT}/lib)
