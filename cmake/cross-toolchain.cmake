# Cross build against a sysroot of Debian's own packages for another processor (made by
# tools/cross-sysroot). Set QVB_CROSS_ARCH (i386 or s390x) and QVB_SYSROOT; tools/cross-test
# does both. Binaries load their C library and Qt from the sysroot, so they run without
# anything of that architecture installed on the host (s390x ones under qemu-s390x).
set(QVB_CROSS_ARCH "$ENV{QVB_CROSS_ARCH}" CACHE STRING "Debian architecture")
set(QVB_SYSROOT "$ENV{QVB_SYSROOT}" CACHE PATH "sysroot of that architecture")
if(QVB_CROSS_ARCH STREQUAL "i386")
  set(CMAKE_SYSTEM_PROCESSOR i686)
  set(_triple i686-linux-gnu)
  set(_multiarch i386-linux-gnu)
  set(_loader /lib/ld-linux.so.2)
  # A host kernel with 32-bit x86 support runs the binaries directly ("env" is named only
  # so that build-time tools such as the image generator are run by path); tools/cross-test
  # picks qemu-i386 where the kernel lacks it.
  if("$ENV{QVB_CROSS_EMULATOR}" STREQUAL "")
    set(CMAKE_CROSSCOMPILING_EMULATOR env)
  else()
    set(CMAKE_CROSSCOMPILING_EMULATOR $ENV{QVB_CROSS_EMULATOR})
  endif()
elseif(QVB_CROSS_ARCH STREQUAL "s390x")
  set(CMAKE_SYSTEM_PROCESSOR s390x)
  set(_triple s390x-linux-gnu)
  set(_multiarch s390x-linux-gnu)
  set(_loader /lib/ld64.so.1)
  set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x)
else()
  message(FATAL_ERROR "QVB_CROSS_ARCH must be i386 or s390x")
endif()
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${_triple}-gcc)
set(CMAKE_CXX_COMPILER ${_triple}-g++)
set(CMAKE_SYSROOT ${QVB_SYSROOT})
set(CMAKE_FIND_ROOT_PATH ${QVB_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${QVB_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} "${QVB_SYSROOT}/usr/lib/${_multiarch}/pkgconfig:${QVB_SYSROOT}/usr/share/pkgconfig")
set(_libs "${QVB_SYSROOT}/lib/${_multiarch}:${QVB_SYSROOT}/usr/lib/${_multiarch}")
# The search path is written as DT_RPATH, not DT_RUNPATH: a run path serves only the
# program's own direct dependencies, and Qt's (libGL behind QtGui, for one) would then be
# looked for in the host's directories whenever the binaries run without an emulator.
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-Wl,--dynamic-linker=${QVB_SYSROOT}${_loader} -Wl,--disable-new-dtags -Wl,-rpath,${_libs} -Wl,-rpath-link,${_libs}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-rpath-link,${_libs}")
add_compile_definitions(QVB_CROSS_BUILD)
# What the test programs need from the sysroot when ctest runs them, with or without
# tools/cross-test: Qt's plugins, and the UTF-8 locale in this processor's byte order
# (the host's own locale files follow for the host programs the tests start).
set(QVB_CROSS_TEST_ENVIRONMENT
    "QT_PLUGIN_PATH=${QVB_SYSROOT}/usr/lib/${_multiarch}/qt5/plugins"
    "LOCPATH=${QVB_SYSROOT}/usr/lib/locale:/usr/lib/locale"
    "QEMU_LD_PREFIX=${QVB_SYSROOT}")
