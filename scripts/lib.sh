# Shared by the scripts in this folder: package installation and the
# build directory layout. Source it; do not run it.

TAVO_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Debian packages the project needs to build, test and run.
TAVO_PACKAGES=(
    build-essential cmake ninja-build pkg-config
    qt6-base-dev qt6-base-dev-tools qt6-serialport-dev libgl-dev
    clang libclang-rt-14-dev clang-format clang-tidy
    xvfb x11-utils imagemagick desktop-file-utils help2man man-db
)

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null 2>&1; then
        sudo "$@"
    else
        echo "error: need root (or sudo) to run: $*" >&2
        return 1
    fi
}

# Installs whatever of TAVO_PACKAGES is missing; does nothing (and needs no
# network) when everything is there already.
install_missing_packages() {
    local missing=()
    local pkg
    for pkg in "${TAVO_PACKAGES[@]}"; do
        if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
            missing+=("$pkg")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return 0
    fi
    echo "== installing: ${missing[*]}"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# configure_and_build DIR [cmake options...]
configure_and_build() {
    local dir=$1
    shift
    cmake -S "$TAVO_ROOT" -B "$dir" -G Ninja "$@"
    cmake --build "$dir" --parallel "$(nproc)"
}

# Every C++ file of ours that clang-format would change; none is the rule.
check_format() {
    local unformatted=()
    local file
    while IFS= read -r -d '' file; do
        clang-format --dry-run --Werror "$file" >/dev/null 2>&1 || unformatted+=("${file#"$TAVO_ROOT"/}")
    done < <(find "$TAVO_ROOT/src" "$TAVO_ROOT/tests" "$TAVO_ROOT/bench" "$TAVO_ROOT/fuzz" \
                 \( -name '*.cpp' -o -name '*.h' \) -print0 2>/dev/null)
    if [ ${#unformatted[@]} -gt 0 ]; then
        echo "error: not formatted as .clang-format says (run clang-format -i on them):" >&2
        printf '  %s\n' "${unformatted[@]}" >&2
        return 1
    fi
}

# clang-tidy with the repository's .clang-tidy over our sources in the
# compile database of build folder $1.
run_clang_tidy() {
    run-clang-tidy -p "$1" -quiet -j "$(nproc)" "$TAVO_ROOT/(src|tests|bench)/" >"$1/clang-tidy.log" 2>&1 || {
        # clang-tidy colours its output whatever it writes to.
        sed 's/\x1b\[[0-9;]*m//g' "$1/clang-tidy.log" | grep -E 'error:|warning:' | grep -v 'warnings generated' >&2
        echo "error: clang-tidy found the above (full output in $1/clang-tidy.log)" >&2
        return 1
    }
}

# What the sanitizer build's programs are run with: leaks found, the first
# fault stops the program, and the leaks of system libraries that are not
# ours (fontconfig, D-Bus, GLib keep caches until exit) are not reported.
export_sanitizer_options() {
    export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1:detect_stack_use_after_return=1"
    export LSAN_OPTIONS="suppressions=$TAVO_ROOT/scripts/lsan.supp:print_suppressions=0"
    export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
}
