#!/usr/bin/env bash
# Installs a build into a folder of its own and builds a user's project against that, once with CMake and once with
# pkg-config. usage: check-package.sh BUILD_DIR
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=$1
work=$PWD/build/package
rm -rf "$work"

# Installed in one place and used in another: a package must not remember where it was built.
cmake --install "$build" --prefix "$work/staged" >/dev/null
mv "$work/staged" "$work/prefix"

"$work/prefix/bin/vantiflux" types | grep -q '^Clock:'

# The simulated camera is found from where the program is now.
"$work/prefix/bin/vantiflux" simulate camera -- \
  "$work/prefix/bin/vantiflux" snapshot examples/trees/camera.vfx Mirror/frames_out "$work/mirror.png" >/dev/null
test -s "$work/mirror.png"

cmake -S tests/package -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_STANDARD=20 >/dev/null
cmake --build "$work/cmake"
"$work/cmake/consumer"

pc=$(find "$work/prefix" -name vantiflux.pc)
export PKG_CONFIG_PATH=${pc%/*}
libdir=$(pkg-config --variable=libdir vantiflux)
read -ra flags < <(pkg-config --cflags --libs vantiflux)
g++ -std=c++20 -Wall -Wextra tests/package/consumer.cpp -o "$work/consumer" "${flags[@]}" -Wl,-rpath,"$libdir"
"$work/consumer"

# Every public header must work from the installed place, not just those that the consumer happens to use.
(cd "$work/prefix/include" && find vantiflux -name '*.h' | sort | sed 's/.*/#include <&>/') >"$work/all.cpp"
g++ -std=c++20 -Wall -Wextra -fsyntax-only "$work/all.cpp" "${flags[@]}"
