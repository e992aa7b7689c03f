# What the recipes share; each of them reads it in.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

# cross_cmake SOURCE BUILD PREFIX [CMAKE OPTION]...: configures, builds and installs with our toolchain file, and with
# no other library for Windows than what comes with the compiler.
cross_cmake() {
    local source=$1 build=$2 prefix=$3
    shift 3
    cmake -G Ninja -S "$source" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
        -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/mingw-w64-x86_64.cmake" -DQUORHDFS_WINDOWS_LIBRARIES= "$@"
    cmake --build "$build"
    cmake --install "$build"
}

# complete PREFIX NAME...: fails unless a file of each name was installed.
complete() {
    local prefix=$1 name
    shift
    for name in "$@"; do
        [ -n "$(find "$prefix" -name "$name" -type f -print -quit)" ] || {
            echo "$(basename "$0"): the build ended well but installed no $name" >&2
            return 1
        }
    done
}
