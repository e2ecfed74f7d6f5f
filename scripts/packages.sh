# Sourced by the other scripts: finds what is missing on this machine and installs it, or says the
# exact command that would.
#
#   require_packages NAME ...   names from the table below; returns when all are there, exits with
#                               status 2 when something is missing and cannot be installed

say() { printf '\n==> %s\n' "$*"; }
fail() { printf '\n%s\n' "$*" >&2; exit 2; }

# The header of a library is looked for where the system's compiler looks, then where Homebrew
# keeps it.
has_header() {
    local prefix
    for prefix in /usr /usr/local /opt/homebrew; do
        [ -e "$prefix/include/$1" ] && return 0
    done
    return 1
}

# Whether the second compiler can link its sanitizers.
has_sanitizers() {
    local dir result=0
    dir=$(mktemp -d)
    printf 'int main() {}' >"$dir/probe.cpp"
    clang++ -fsanitize=address,undefined "$dir/probe.cpp" -o "$dir/probe" 2>/dev/null || result=1
    rm -rf "$dir"
    return "$result"
}

# is_present NAME: whether the thing itself can be used, whoever installed it.
is_present() {
    case "$1" in
        compiler) command -v c++ >/dev/null && command -v cc >/dev/null ;;
        cmake) command -v cmake >/dev/null ;;
        ninja) command -v ninja >/dev/null ;;
        googletest) has_header gtest/gtest.h && has_header gmock/gmock.h ;;
        benchmark) has_header benchmark/benchmark.h ;;
        clang) command -v clang++ >/dev/null && has_sanitizers ;;
        clang-format) command -v clang-format >/dev/null ;;
        clang-tidy) command -v clang-tidy >/dev/null ;;
        *) fail "packages.sh: unknown name $1" ;;
    esac
}

debian_package() {
    case "$1" in
        compiler) echo g++ ;;
        ninja) echo ninja-build ;;
        googletest) echo libgtest-dev libgmock-dev ;;
        benchmark) echo libbenchmark-dev ;;
        clang) echo clang libclang-rt-dev ;;
        *) echo "$1" ;;
    esac
}

homebrew_package() {
    case "$1" in
        benchmark) echo google-benchmark ;;
        clang | clang-tidy) echo llvm ;;
        *) echo "$1" ;;
    esac
}

install_on_macos() {
    if ! xcode-select -p >/dev/null 2>&1; then
        fail "The command line tools are missing. Run: xcode-select --install"
    fi
    command -v brew >/dev/null || fail "Homebrew is missing (https://brew.sh). Then run: brew install $*"
    brew install "$@"
}

install_on_debian() {
    command -v apt-get >/dev/null || fail "Please install with your package manager: $*"
    if [ "$(id -u)" -ne 0 ]; then
        fail "Missing packages. Run: sudo apt-get update && sudo apt-get install -y $*"
    fi
    DEBIAN_FRONTEND=noninteractive apt-get update -qq
    DEBIAN_FRONTEND=noninteractive DEBCONF_NOWARNINGS=yes apt-get install -y -qq --no-install-recommends "$@" >/dev/null
}

require_packages() {
    local name missing=() packages=()
    for name in "$@"; do
        is_present "$name" || missing+=("$name")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    say "Installing what is missing: ${missing[*]}"
    for name in "${missing[@]}"; do
        if [ "$(uname)" = Darwin ]; then
            packages+=($(homebrew_package "$name"))
        else
            packages+=($(debian_package "$name"))
        fi
    done
    if [ "$(uname)" = Darwin ]; then
        install_on_macos "${packages[@]}"
    else
        install_on_debian "${packages[@]}"
    fi
    for name in "${missing[@]}"; do
        is_present "$name" || fail "Still missing after the installation: $name"
    done
}
