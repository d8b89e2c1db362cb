#!/bin/sh
# Builds the Debian package from this build tree, unpacks it into a scratch
# root and checks that everything a desktop needs is there and usable.
#   check-package.sh BUILD_DIR SOURCE_DIR
set -eu
build=$1
source=$2
scratch=$build/package-check
rm -rf "$scratch"
mkdir -p "$scratch"

(cd "$build" && cpack -G DEB -B "$scratch/out" >"$scratch/cpack.log" 2>&1) || {
    cat "$scratch/cpack.log"
    exit 1
}
deb=$(ls "$scratch"/out/*.deb)
dpkg-deb -x "$deb" "$scratch/root"
dpkg-deb -e "$deb" "$scratch/control"

fail=0
need() {
    if [ ! -e "$scratch/root$1" ]; then
        echo "missing from the package: $1"
        fail=1
    fi
}
need /usr/bin/tavo
need /usr/bin/serial-tavo-editor
need /usr/share/applications/serial-tavo-editor.desktop
need /usr/share/icons/hicolor/scalable/apps/serial-tavo-editor.svg
need /usr/share/mime/packages/serial-tavo-editor.xml
need /usr/share/doc/serial-tavo-editor/examples/demo.OTS
need /usr/share/doc/serial-tavo-editor/copyright
need /usr/share/doc/serial-tavo-editor/changelog.Debian.gz
need /usr/share/doc/serial-tavo-editor/README.md
need /usr/share/man/man1/tavo.1.gz
need /usr/share/man/man1/serial-tavo-editor.1.gz

# The manual pages read as pages, with the program's own usage in them.
if command -v man >/dev/null 2>&1; then
    MANPAGER=cat man -l "$scratch/root/usr/share/man/man1/tavo.1.gz" 2>/dev/null | grep -q "EXIT STATUS" \
        || { echo "the manual page of tavo does not read"; fail=1; }
fi

# The long description: no line of a stray list separator.
if sed -n '/^Description:/,$p' "$scratch/control/control" | grep -q '^ *;'; then
    echo "the package description has a stray ';' line"
    fail=1
fi

# The link in bin/ must lead to the program (in lib/, whichever lib/ the
# prefix has), with the help page beside it.
target=$(readlink -f "$scratch/root/usr/bin/serial-tavo-editor")
[ -x "$target" ] || { echo "bin/serial-tavo-editor does not lead to the program"; fail=1; }
[ -f "$(dirname "$target")/Serial Tavo Editor.html" ] || { echo "no help page beside the program"; fail=1; }
[ -f "$(dirname "$target")/virtual-unit.png" ] || { echo "no picture beside the help page"; fail=1; }

desktop-file-validate "$scratch/root/usr/share/applications/serial-tavo-editor.desktop" || fail=1
grep -q '^MimeType=application/x-serial-tavo-configuration;' \
    "$scratch/root/usr/share/applications/serial-tavo-editor.desktop" || { echo "desktop entry does not open .OTS files"; fail=1; }
grep -q '^Exec=serial-tavo-editor --simulate$' \
    "$scratch/root/usr/share/applications/serial-tavo-editor.desktop" || { echo "desktop entry cannot start the editor without a unit"; fail=1; }

depends=$(sed -n 's/^Depends: //p' "$scratch/control/control")
for lib in libqt6core6 libqt6gui6 libqt6widgets6 libqt6serialport6 qt6-qpa-plugins; do
    case "$depends" in
        *"$lib"*) ;;
        *) echo "package does not depend on $lib (Depends: $depends)"; fail=1 ;;
    esac
done

# The installed command works from the unpacked tree.
"$scratch/root/usr/bin/tavo" image "$source/examples/demo.OTS" >/dev/null || { echo "installed tavo does not run"; fail=1; }

[ $fail -eq 0 ] && echo "package ok: $(basename "$deb")"
exit $fail
