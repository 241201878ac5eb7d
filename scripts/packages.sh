# Sourced by demo.sh and test.sh: what they need from the system, by the names of Debian 12, and how to get it.
#
# Each row: the package, then how to see that it is there already: a command, or a header below /usr/include, or
# "clang-runtime" for the sanitizers' run-time library of clang. Whatever provides it will do.

packages_to_build="
cmake             command cmake
ninja-build       command ninja
g++               command g++
"

packages_to_test="
$packages_to_build
clang-14          command clang++-14
libclang-rt-14-dev clang-runtime
libgtest-dev      header gtest/gtest.h
libbenchmark-dev  header benchmark/benchmark.h
pkgconf           command pkg-config
dpkg-dev          command dpkg-shlibdeps
file              command file
"

has()
{
  case $1 in
    command) command -v "$2" > /dev/null ;;
    header) [ -e "/usr/include/$2" ] || [ -e "/usr/local/include/$2" ] ;;
    clang-runtime) ls "$(clang++-14 -print-resource-dir 2> /dev/null)"/lib/*/libclang_rt.asan* > /dev/null 2>&1 ;;
  esac
}

# missing_of <rows>: the names of the packages that aren't there
missing_of()
{
  printf '%s\n' "$1" | while read -r package how what; do
    [ -z "$package" ] || has "$how" "$what" || printf '%s ' "$package"
  done
}

# need <rows>: installs what is missing, as root or by sudo without a password; otherwise names it and ends the script
need()
{
  local missing sudo=""
  missing=$(missing_of "$1")
  [ -n "$missing" ] || return 0

  if ! command -v apt-get > /dev/null; then
    echo "Missing, by the names of the Debian packages: $missing" >&2
    echo "Install what this system has for them, then start ${0##*/} again." >&2
    exit 1
  fi
  if [ "$(id -u)" != 0 ]; then
    if ! command -v sudo > /dev/null || ! sudo -n true 2> /dev/null; then
      echo "Missing packages: $missing" >&2
      echo "This needs root once:  apt-get update && apt-get install -y $missing" >&2
      exit 1
    fi
    sudo="sudo -n"
  fi

  step "Installing $missing"
  $sudo env DEBIAN_FRONTEND=noninteractive apt-get -q -o Acquire::Retries=3 update
  # shellcheck disable=SC2086
  $sudo env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o Acquire::Retries=3 -o DPkg::Lock::Timeout=300 \
    install --no-install-recommends $missing

  missing=$(missing_of "$1")
  if [ -n "$missing" ]; then
    echo "Still missing after the installation: $missing" >&2
    exit 1
  fi
}

# step <text>: says what comes now, with the time since the start of the script
step()
{
  printf '\n==> %s  [%d:%02d]\n' "$1" $((SECONDS / 60)) $((SECONDS % 60))
}

# configure <folder> <preset> <C compiler> <C++ compiler> [<option>...]: in a folder of the scripts' own below build/, so
# that nobody's settings are touched
configure()
{
  local folder=$1 preset=$2 launcher=()
  if command -v ccache > /dev/null; then
    launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  fi
  cmake --preset "$preset" -B "$folder" -G Ninja -DCMAKE_C_COMPILER="$3" -DCMAKE_CXX_COMPILER="$4" \
    "${launcher[@]}" "${@:5}"
}
