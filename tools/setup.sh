# Sourced by measure and check: makes sure that what the build needs is installed.
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

# What it takes to build and run the program.
tazmet_build_packages=(g++ cmake ninja-build libhwy-dev)
# What the tests need on top: their framework, the formatter, and the open programs that judge us.
tazmet_check_packages=(git libgtest-dev libgmock-dev clang-format libjpeg-turbo-progs
  libjpeg62-turbo-dev binutils libopenjp2-tools)

# Ubuntu names one of them differently.
if [[ -r /etc/os-release ]] && grep -q '^ID=ubuntu' /etc/os-release; then
  for i in "${!tazmet_check_packages[@]}"; do
    if [[ ${tazmet_check_packages[i]} == libjpeg62-turbo-dev ]]; then
      tazmet_check_packages[i]=libjpeg-turbo8-dev
    fi
  done
fi
