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

# Homebrew keeps its LLVM out of the way of the system's: clang-tidy is found there alone.
# It stands last in the search path, so that the system's compilers stay the first choice.
has_clang_tidy() {
    local llvm
    command -v clang-tidy >/dev/null && return 0
    [ "$(uname)" = Darwin ] && command -v brew >/dev/null || return 1
    llvm=$(brew --prefix llvm 2>/dev/null) && [ -x "$llvm/bin/clang-tidy" ] || return 1
    PATH=$PATH:$llvm/bin
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
        clang-tidy) has_clang_tidy ;;
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

# Runs the command and says, on a terminal every second, that it is still at it. What it said itself
# is shown when it fails, and then the script ends with status 2.
patiently() {
    local output seconds=0 id
    output=$(mktemp)
    "$@" >"$output" 2>&1 </dev/null &
    id=$!
    while kill -0 "$id" 2>/dev/null; do
        [ ! -t 1 ] || printf '\r    %s ... %d s ' "$1 $2" "$seconds"
        sleep 1
        seconds=$((seconds + 1))
    done
    [ ! -t 1 ] || printf '\r\033[K'
    if ! wait "$id"; then
        tail -n 20 "$output"
        rm -f "$output"
        fail "failed: $*"
    fi
    rm -f "$output"
    printf '    %s ... done after %d s\n' "$1 $2" "$seconds"
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
    export DEBIAN_FRONTEND=noninteractive DEBCONF_NOWARNINGS=yes
    patiently apt-get update -q
    patiently apt-get install -y -q --no-install-recommends "$@"
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
