# What the scripts beside this file share. To be sourced, not run.
# shellcheck shell=bash disable=SC2034

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=${ORV_JOBS:-$(nproc)}

# What a build needs, and what each further use adds to it. Debian package names.
build_packages=(build-essential cmake ninja-build pkg-config libsoxr-dev libhwy-dev libcli11-dev nlohmann-json3-dev
  libsndfile1-dev libpipewire-0.3-dev)
test_packages=(libgtest-dev libglib2.0-dev sndfile-programs sox ffmpeg librsvg2-bin cuetools
  pipewire pipewire-bin wireplumber)
clang_packages=(clang libclang-rt-14-dev)
lint_packages=(clang-format clang-tidy shellcheck git)
bench_packages=(libjack-jackd2-dev libswresample-dev libavcodec-dev sox ffmpeg pipewire pipewire-bin)
accuracy_packages=(asc-music planetblupi-music-ogg singularity-music warzone2100-music wesnoth-1.16-music
  sonic-pi-samples espeak-ng mp3splt)
demo_packages=(asc-music ffmpeg sox)

say() { printf '== %s\n' "$*"; }

fail() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  else
    sudo "$@"
  fi
}

# Installs those of the named packages that are missing. Touches neither the network nor sudo when none is.
need_packages() {
  local package missing=()
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null || fail "missing packages, and neither root nor sudo: ${missing[*]}"
  say "installing ${missing[*]}"
  local log
  log=$(mktemp)
  if ! { as_root apt-get update -q && as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends "${missing[@]}"; } </dev/null >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    rm -f "$log"
    fail "apt could not install: ${missing[*]}"
  fi
  rm -f "$log"
}

# Runs a command whose output only matters when it fails.
quietly() {
  local log
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1; then
    tail -n 100 "$log" >&2
    rm -f "$log"
    fail "failed: $*"
  fi
  rm -f "$log"
}

# build PRESET TARGET [CMAKE ARGUMENT…]: configures one of the presets in build/PRESET and builds a target of it.
build() {
  local preset=$1 target=$2
  shift 2
  say "building $preset"
  (cd "$root" && quietly cmake --preset "$preset" "$@" &&
    quietly cmake --build --preset "$preset" --target "$target" -j "$jobs")
}
