#!/usr/bin/env bash
# Sourced by measure and check: makes sure that what the build needs is installed. Run by itself, as
# in `tools/setup.sh build bench`, it installs what the tasks named need.
# tazmet_setup PACKAGE...: installs the missing Debian packages with apt when the user may, else
# prints the line to type and exits with 2.

tazmet_setup() {
  local missing=() package
  for package in "$@"; do
    # "ii " is the state of a package that is installed and configured.
    [[ $(dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null) == ii* ]] ||
      missing+=("$package")
  done
  ((${#missing[@]})) || return 0

  local sudo=()
  if ((EUID != 0)); then
    if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
      sudo=(sudo -n)
    else
      {
        echo "These packages are missing; please install them and start again:"
        echo "  sudo apt-get install ${missing[*]}"
      } >&2
      exit 2
    fi
  fi
  echo "Installing ${missing[*]}" >&2
  local apt=("${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -y --no-install-recommends)
  if ! "${apt[@]}" install "${missing[@]}" >/dev/null 2>&1; then
    # An image may come without package lists, or with old ones.
    "${sudo[@]}" apt-get -qq update >&2
    if ! "${apt[@]}" install "${missing[@]}" >/dev/null; then
      echo "Could not install: ${missing[*]}" >&2
      exit 2
    fi
  fi
}

# tazmet_setup_known PACKAGE...: the same for those of them that apt knows.
tazmet_setup_known() {
  local known=() package
  for package in "$@"; do
    apt-cache show "$package" >/dev/null 2>&1 && known+=("$package")
  done
  ((${#known[@]} == 0)) || tazmet_setup "${known[@]}"
}

# What it takes to build and run the program.
tazmet_build_packages=(g++ cmake ninja-build libhwy-dev liblcms2-dev nlohmann-json3-dev libcli11-dev libsoci-dev
  libjs-chart.js)
# What the tests need on top: their framework, the formatter, and the open programs that judge us.
tazmet_check_packages=(git libgtest-dev libgmock-dev clang-format libjpeg-turbo-progs
  libjpeg62-turbo-dev binutils libopenjp2-tools libtiff-tools libsquish-dev pkg-config python3
  universal-ctags valgrind libimage-exiftool-perl imagemagick ffmpeg)
# Judges that not every release has; without them their tests are skipped.
tazmet_judge_packages=(grokj2k-tools dcmtk)

# What the tests of the results page need: a browser. Without it they are skipped.
tazmet_page_packages=(chromium chromium-driver)

# What the side-by-side benchmarks need on top of the build: the peers.
tazmet_bench_packages=(pkg-config libjpeg62-turbo-dev libopenjp2-7-dev libjxr-dev
  libstb-dev libsquish-dev libdcmtk-dev libbenchmark-dev mate-backgrounds lomiri-wallpapers-16.04)

# What the fuzz targets need: a compiler with libFuzzer, whose library for sanitizers carries its version.
tazmet_fuzz_packages=(clang)
tazmet_fuzz_runtime() { echo "libclang-rt-$(clang -dumpversion | cut -d. -f1)-dev"; }

# Ubuntu names one of them differently.
if [[ -r /etc/os-release ]] && grep -q '^ID=ubuntu' /etc/os-release; then
  tazmet_check_packages=("${tazmet_check_packages[@]/#libjpeg62-turbo-dev/libjpeg-turbo8-dev}")
  tazmet_bench_packages=("${tazmet_bench_packages[@]/#libjpeg62-turbo-dev/libjpeg-turbo8-dev}")
fi

# Run instead of sourced: installs what the named tasks need, of build, check, bench, fuzz and page.
if [[ ${BASH_SOURCE[0]} == "$0" ]]; then
  set -euo pipefail
  for task in "$@"; do
    case $task in
      build) tazmet_setup "${tazmet_build_packages[@]}" ;;
      check)
        tazmet_setup "${tazmet_check_packages[@]}"
        tazmet_setup_known "${tazmet_judge_packages[@]}"
        ;;
      bench) tazmet_setup "${tazmet_bench_packages[@]}" ;;
      fuzz)
        tazmet_setup "${tazmet_build_packages[@]}" "${tazmet_fuzz_packages[@]}"
        tazmet_setup "$(tazmet_fuzz_runtime)"
        ;;
      page) tazmet_setup "${tazmet_page_packages[@]}" ;;
      *) echo "setup.sh: no task $task; there are build, check, bench, fuzz and page" >&2 && exit 2 ;;
    esac
  done
fi
