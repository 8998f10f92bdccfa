#!/usr/bin/env bash
# Builds the libraries the Windows build needs, from Debian 12's own sources, with the mingw-w64
# cross-compiler (cmake/mingw-w64-x86_64.cmake), into build/windows-deps (or $VORLA_WINDOWS_DEPS).
# A prefix that already holds this script's pinned set is reused as it is.
#
#   Xerces-C 3.2.4   DLL    every XML parse
#   Boost 1.74       DLLs   thread, program_options (+ headers)
#   nettle 3.8.1     static SHA-1 of the GenCP description cache
#   zlib             static Debian's libz-mingw-w64-dev
#   minizip 1.2.13   static zipped descriptions (zlib's contrib/minizip)
#   libpng 1.6.39    static vorla-cl's PNG output
#   GoogleTest 1.12  static Debian's /usr/src/googletest
#   nlohmann-json    headers Debian's nlohmann-json3-dev, as installed
#
# Sources come from `apt-get source` (a deb-src entry for the installed suite is added when the
# apt sources lack one) and from files Debian installs; nothing else is downloaded.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
prefix=${VORLA_WINDOWS_DEPS:-$root/build/windows-deps}
work=$root/build/windows-deps-src
toolchain=$root/cmake/mingw-w64-x86_64.cmake
jobs=${VORLA_WINDOWS_JOBS:-2}
pins="xerces-c=3.2.4+debian-1 boost1.74=1.74.0+ds1-21 nettle=3.8.1-2 zlib=1:1.2.13.dfsg-1 libpng1.6=1.6.39-2+deb12u5 googletest=1.12.1-0.2 nlohmann-json3=3.11.2-2"
stamp=$prefix/.vorla-windows-deps

if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$pins" ]; then
  echo "windows-deps: $prefix is up to date"
  exit 0
fi

# --- build machine: cross-compiler, Wine, the tools the source builds use -------------------
./scripts/setup.sh mingw
tools=(libz-mingw-w64-dev wine64 dpkg-dev m4 bison make xz-utils googletest)
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
missing=()
for p in "${tools[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
have_src() { apt-cache showsrc xerces-c 2>/dev/null | grep -q '^Version:'; }
if ! have_src; then
  if [ -f /etc/apt/sources.list.d/debian.sources ] &&
     ! grep -q '^Types:.*deb-src' /etc/apt/sources.list.d/debian.sources; then
    $sudo sed -i 's/^Types: deb$/Types: deb deb-src/' /etc/apt/sources.list.d/debian.sources
  elif [ -f /etc/apt/sources.list ] && ! grep -q '^deb-src' /etc/apt/sources.list; then
    grep '^deb ' /etc/apt/sources.list | sed 's/^deb /deb-src /' | $sudo tee -a /etc/apt/sources.list >/dev/null
  fi
  $sudo apt-get -o DPkg::Lock::Timeout=600 update -qq
fi
if [ ${#missing[@]} -gt 0 ]; then
  $sudo apt-get -o DPkg::Lock::Timeout=600 update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get -o DPkg::Lock::Timeout=600 install -y -qq "${missing[@]}"
fi

# A pin list that differs from the prefix's starts over; an interrupted run resumes per library.
if [ -f "$stamp" ] || { [ -d "$prefix" ] && [ ! -d "$prefix/.built" ]; }; then rm -rf "$prefix"; fi
mkdir -p "$prefix/.built" "$work"
done_() { [ -f "$prefix/.built/$1" ]; }
triple=x86_64-w64-mingw32
nice_make() { nice -n 15 "$@"; }
# Each library reports its wall-clock time (the CI budget is counted in minutes).
t0=$SECONDS
lap() { echo "windows-deps: $1 took $((SECONDS - t0)) s"; t0=$SECONDS; }
cmake_dep() { # <source dir> <build dir> [--target <t> --install <sub-folder>] <cmake args...>
  local src=$1 bld=$2 target=() sub=.
  shift 2
  if [ "${1:-}" = --target ]; then target=(--target "$2"); sub=$4; shift 4; fi
  cmake -S "$src" -B "$bld" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DVORLA_WINDOWS_DEPS="$prefix" -DCMAKE_INSTALL_PREFIX="$prefix" "$@" >"$bld.log"
  nice_make cmake --build "$bld" -j "$jobs" "${target[@]}" >>"$bld.log"
  cmake --install "$bld/$sub" >>"$bld.log"
}
fetch() { # <source package>=<version> -> prints the unpacked folder
  local pkg=${1%%=*} dir
  dir=$(find "$work" -mindepth 1 -maxdepth 1 -type d -name "${pkg}-*" | head -n1)
  [ -z "$dir" ] || { echo "$dir"; return; }
  (cd "$work" && apt-get source -qq --only-source "$1" >/dev/null 2>&1) ||
    { echo "windows-deps: apt-get source $1 failed" >&2; exit 1; }
  find "$work" -mindepth 1 -maxdepth 1 -type d -name "${pkg}-*" | head -n1
}
pin() { for p in $pins; do [ "${p%%=*}" = "$1" ] && echo "$p"; done; }

# --- zlib (Debian's mingw build) and minizip -------------------------------------------------
if ! done_ minizip; then
  mkdir -p "$prefix/lib/pkgconfig" "$prefix/include"
  cp /usr/$triple/include/zlib.h /usr/$triple/include/zconf.h "$prefix/include/"
  cp /usr/$triple/lib/libz.a "$prefix/lib/"
  echo "windows-deps: minizip"
  zlib=$(fetch "$(pin zlib)")
  mkdir -p "$work/minizip"
  cat >"$work/minizip/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(minizip C)
find_package(ZLIB REQUIRED)
set(src $zlib/contrib/minizip)
add_library(minizip STATIC \${src}/ioapi.c \${src}/iowin32.c \${src}/unzip.c \${src}/zip.c)
target_link_libraries(minizip PUBLIC ZLIB::ZLIB)
install(TARGETS minizip ARCHIVE DESTINATION lib)
install(FILES \${src}/ioapi.h \${src}/iowin32.h \${src}/unzip.h \${src}/zip.h DESTINATION include/minizip)
EOF
  cmake_dep "$work/minizip" "$work/minizip-build"
  cat >"$prefix/lib/pkgconfig/minizip.pc" <<EOF
prefix=$prefix
Name: minizip
Description: zip and unzip (zlib contrib)
Version: 1.2.13
Cflags: -I\${prefix}/include/minizip
Libs: -L\${prefix}/lib -lminizip -lz
EOF
  touch "$prefix/.built/minizip"
  lap minizip
fi

# --- libpng ------------------------------------------------------------------------------------
if ! done_ libpng; then
  echo "windows-deps: libpng"
  png=$(fetch "$(pin libpng1.6)")
  cmake_dep "$png" "$work/png-build" -DPNG_SHARED=OFF -DPNG_STATIC=ON -DPNG_TESTS=OFF \
    -DPNG_EXECUTABLES=OFF -DZLIB_LIBRARY="$prefix/lib/libz.a" \
    -DZLIB_INCLUDE_DIR="$prefix/include"
  touch "$prefix/.built/libpng"
  lap libpng
fi

# --- nettle (no public-key part, so no GMP) --------------------------------------------------
if ! done_ nettle; then
  echo "windows-deps: nettle"
  nettle=$(fetch "$(pin nettle)")
  (cd "$nettle" && ./configure -q --host=$triple --prefix="$prefix" --disable-shared --enable-static \
     --disable-public-key --disable-assembler --disable-documentation --disable-openssl \
     --disable-fat >"$work/nettle.log" &&
   nice_make make -j"$jobs" AUTOHEADER=true AUTOCONF=true libnettle.a >>"$work/nettle.log" &&
   make AUTOHEADER=true AUTOCONF=true install-headers install-static install-pkgconfig >>"$work/nettle.log")
  rm -f "$prefix/lib/pkgconfig/hogweed.pc"
  touch "$prefix/.built/nettle"
  lap nettle
fi

# --- Xerces-C ----------------------------------------------------------------------------------
if ! done_ xerces; then
  echo "windows-deps: Xerces-C"
  xerces=$(fetch "$(pin xerces-c)")
  # XMLCh is char16_t, as in Debian's own build: the sources write u"..." for Xerces strings.
  # The library alone (its 46 samples and tests are not needed) and its own install rules.
  cmake_dep "$xerces" "$work/xerces-build" --target xerces-c --install src -DBUILD_SHARED_LIBS=ON \
    -Dnetwork=OFF -Dtranscoder=windows -Dmessage-loader=inmemory -Dxmlch-type=char16_t \
    -Dmutexmgr=windows -DCMAKE_DISABLE_FIND_PACKAGE_ICU=ON -DCMAKE_DISABLE_FIND_PACKAGE_CURL=ON
  touch "$prefix/.built/xerces"
  lap xerces
fi

# --- Boost: headers, thread, program_options --------------------------------------------------
if ! done_ boost; then
  echo "windows-deps: Boost"
  boost=$(fetch "$(pin boost1.74)")
  echo "using gcc : mingw : $triple-g++-posix ;" >"$work/user-config.jam"
  # Debian's source leaves out the build engine's generated parser.
  (cd "$boost/tools/build/src/engine" && [ -f jamgram.cpp ] || bison -y -d -o jamgram.cpp jamgram.y)
  # The headers in one copy that keeps their times, so that b2's install (one process per file)
  # finds them up to date and installs only the libraries and their CMake packages.
  mkdir -p "$prefix/include"
  for headers in "$boost"/libs/*/include "$boost"/libs/numeric/*/include; do
    cp -a "$headers/boost" "$prefix/include/"
  done
  (cd "$boost" && ./bootstrap.sh --with-libraries=thread,program_options >"$work/boost.log" 2>&1 &&
   nice_make ./b2 -q -j"$jobs" --user-config="$work/user-config.jam" toolset=gcc-mingw \
     target-os=windows threadapi=win32 variant=release link=shared runtime-link=shared \
     threading=multi address-model=64 architecture=x86 abi=ms binary-format=pe \
     --layout=system --with-thread --with-program_options --prefix="$prefix" install \
     >>"$work/boost.log" 2>&1) || { tail -30 "$work/boost.log" >&2; exit 1; }
  touch "$prefix/.built/boost"
  lap boost
fi

# --- GoogleTest --------------------------------------------------------------------------------
if ! done_ gtest; then
  echo "windows-deps: GoogleTest"
  cmake_dep /usr/src/googletest "$work/gtest-build" -DBUILD_SHARED_LIBS=OFF -Dgtest_disable_pthreads=OFF
  touch "$prefix/.built/gtest"
  lap gtest
fi

# --- nlohmann-json: header-only, Debian's installed copy with its CMake package -------------------
if ! done_ json; then
  mkdir -p "$prefix/include" "$prefix/share/cmake"
  cp -a /usr/include/nlohmann "$prefix/include/"
  cp -a /usr/share/cmake/nlohmann_json "$prefix/share/cmake/"
  touch "$prefix/.built/json"
fi

rm -rf "$work"
echo "$pins" >"$stamp"
echo "windows-deps: built into $prefix"
