# Sourced by ./run and ./test: installs the Debian packages that are missing.
# usage: need_packages PACKAGE...
need_packages() {
    missing=
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing="$missing $package"
    done
    [ -z "$missing" ] && return 0
    echo "installing:$missing"
    as_root=
    if [ "$(id -u)" != 0 ]; then
        command -v sudo >/dev/null || { echo "please install these packages as root:$missing" >&2; exit 1; }
        as_root=sudo
    fi
    log=$(mktemp)
    if ! { $as_root apt-get update && $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing; } >"$log" 2>&1
    then
        tail -n 20 "$log" >&2
        echo "the packages could not be installed; the whole log is $log" >&2
        exit 1
    fi
    rm -f "$log"
}
# Tahoma's free twin and Latin; Chinese, Japanese and Korean; emoji; the other scripts. Without them boxes stand for letters.
font_packages="fonts-wine fonts-dejavu-core fonts-wqy-microhei fonts-symbola fonts-freefont-ttf"
build_packages="g++ cmake ninja-build ccache lld pkg-config libsqlite3-dev libicu-dev libical-dev libstb-dev libcairo2-dev libharfbuzz-dev \
libfreetype-dev libfontconfig-dev zlib1g-dev libgdk-pixbuf-2.0-dev libsdl2-dev librsvg2-bin tzdata $font_packages"
test_packages="libgtest-dev libbenchmark-dev libpng-dev libpango1.0-dev clang-format clang-tidy libgcc-12-dev"
