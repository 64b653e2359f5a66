# Shared by the tools: source it first. Every tool runs from any folder.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s\n' "$*"; }
fail() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

# quietly TITLE LOG COMMAND...: one progress line; the output goes to the log, and its end to the screen when the command fails.
quietly() {
  local title=$1 log=$2 started=$SECONDS
  shift 2
  printf '%s ... ' "$title"
  if "$@" >"$log" 2>&1; then
    printf 'done (%d s)\n' $((SECONDS - started))
  else
    printf 'failed\n'
    tail -n 40 "$log" >&2
    fail "$title failed, see $log"
  fi
}

# Builds the Windows dependencies, unless they are there, and exports where. A build folder that has used others forgets what it found
# in them, or it would use them on.
use_windows_dependencies() {
  VQ_WINDOWS_SYSROOT=$("$root/tools/windows/sysroot")
  export VQ_WINDOWS_SYSROOT
  local cache=$root/build/windows-mingw/CMakeCache.txt
  grep -qs "^Qt5Core_DIR:PATH=$VQ_WINDOWS_SYSROOT/" "$cache" || rm -f "$cache"
}

# build PRESET [TARGET...]: configures and builds, with a progress line for each.
build() {
  local preset=$1
  shift
  mkdir -p "$root/build"
  quietly "Configuring $preset" "$root/build/$preset-configure.log" cmake -S "$root" --preset "$preset"
  quietly "Building $preset" "$root/build/$preset-build.log" cmake --build "$root/build/$preset" ${1:+--target "$@"}
}
