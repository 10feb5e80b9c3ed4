# shellcheck shell=bash
# Sourced by the scripts beside it, after `set -euo pipefail`.

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
program=$(basename -- "$0")

# Prints one line on standard error and ends the script; a second argument is the exit status.
die() {
  printf '%s: %s\n' "$program" "$1" >&2
  exit "${2:-1}"
}

# Prints the help: the comment at the head of the calling script.
usage() {
  sed -n '2,/^[^#]/ { s/^# \{0,1\}//p }' "$0"
}

# Changes to the project's root, installs missing packages and checks that build/ is writable.
prepare() {
  "$root/scripts/install-dependencies"
  cd "$root" || die "cannot enter $root"
  if ! mkdir -p build 2>/dev/null || [ ! -w build ]; then
    die "cannot write to $root/build"
  fi
  local cores
  cores=$(nproc)
  export CMAKE_BUILD_PARALLEL_LEVEL="${CMAKE_BUILD_PARALLEL_LEVEL:-$cores}"
  export CTEST_PARALLEL_LEVEL="${CTEST_PARALLEL_LEVEL:-$cores}"
}

# build PRESET [TARGET...]: configures, printing only errors, and builds the targets or everything.
# The array `definitions` holds further arguments for CMake.
definitions=()
build() {
  local preset=$1 log="build/configure-$1.log" targets=()
  shift
  [ $# -eq 0 ] || targets=(--target "$@")
  printf 'Building %s%s\n' "$preset" "${*:+ ($*)}"
  if ! cmake --preset "$preset" "${definitions[@]}" >"$log" 2>&1; then
    cat "$log" >&2
    die "configuring preset $preset failed; CMake's reason stands above"
  fi
  cmake --build --preset "$preset" "${targets[@]}" ||
    die "building preset $preset failed; the compiler's reason stands above"
}
