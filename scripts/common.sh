# shellcheck shell=bash
# What the scripts share. Each of them sources this file first and then stands in the project's top folder.
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

jobs=${JOBS:-$(nproc)}

say() { printf '%s\n' "$*"; }
die() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# configure NAME [CMAKE-OPTION...]: makes or updates build/NAME, quietly unless it fails. With Ninja and
# ccache where they are, which may only be so since scripts/setup ran.
configure() {
  local folder=build/$1
  local log=$folder/configure.log
  shift
  mkdir -p "$folder" || return
  if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
    export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD} CCACHE_NOHASHDIR=1
  fi
  if [ ! -f "$folder/build.ninja" ] && [ ! -f "$folder/Makefile" ]; then
    rm -f "$folder/CMakeCache.txt"  # of a try that failed
    if command -v ninja >/dev/null; then set -- -G Ninja "$@"; fi
  fi
  cmake -S . -B "$folder" "$@" >"$log" 2>&1 || {
    cat "$log"
    return 1
  }
}

# build NAME [TARGET...]: compiles build/NAME, all of it or some targets.
build() {
  local name=$1 targets=()
  shift
  [ $# -eq 0 ] || targets=(--target "$@")
  cmake --build "build/$name" --parallel "$jobs" "${targets[@]}"
}
