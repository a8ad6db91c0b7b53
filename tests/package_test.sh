#!/usr/bin/env bash
# Builds, checks and unpacks the packages as an integrator does. Then builds README's host against
# them, with pkg-config and with CMake, and records with the unpacked module.
# Arguments: the build folder, the sources.
set -euo pipefail
build=$1 top=$2
folder=$(mktemp -d /tmp/tamborin-package-XXXXXX)
trap 'rm -rf "$folder"' EXIT
trap 'echo "line $LINENO: $BASH_COMMAND"; tail -n 50 "$folder"/*.log' ERR

cpack --config "$build/CPackConfig.cmake" -B "$folder/packages" >"$folder/cpack.log" 2>&1
packages=("$folder"/packages/*.deb)
[ ${#packages[@]} -ge 2 ]
if command -v lintian >/dev/null; then
    lintian --allow-root --fail-on error,warning "${packages[@]}"
fi
for package in "${packages[@]}"; do
    dpkg-deb -x "$package" "$folder/root"
done
cd "$folder"
cp "$build/tests/readme_host.c" host.c
configs=(root/usr/lib/*/pkgconfig)
export PKG_CONFIG_PATH=$folder/${configs[0]}
read -ra flags < <(pkg-config --cflags tamborin)
cc -std=c11 -Wall -Wextra -Werror "${flags[@]}" host.c -o by_pkgconfig
cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.16)
project(host C)
find_package(tamborin 26 REQUIRED)
add_executable(by_cmake host.c)
target_link_libraries(by_cmake tamborin::tamborin ${CMAKE_DL_LIBS})
file(WRITE module "${TAMBORIN_MODULE}")
END
cmake -B . -DCMAKE_PREFIX_PATH="$folder/root/usr" >cmake.log
cmake --build . >>cmake.log

record() {  # HOST MODULE, prints the version that the module announces
    "$top/tools/private-pulseaudio" "./$1" "$2" >"$1.txt" 2>"$1.log"
    [ "$(grep -c '^2048 samples of channel 0x140110$' "$1.txt")" -eq 10 ]
    sed -n '1s/.*<Module Name="Tamborin" .* Version="\([^"]*\)".*/\1/p' "$1.txt"
}
version=$(pkg-config --modversion tamborin)
[ "$(record by_pkgconfig "$(pkg-config --variable=module tamborin)")" = "$version" ]
[ "$(record by_cmake "$(<module)")" = "$version" ]
for package in "${packages[@]}"; do
    [ "$(dpkg-deb -f "$package" Version)" = "$version-1" ]
done
[[ $(root/usr/bin/tamborin-host --help) == *"$folder/root/usr/lib/"*/tamborin/libtamborin.so* ]]
