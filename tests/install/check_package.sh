#!/usr/bin/env bash
# `BUILD install` installs into a scratch prefix and validates what a desktop reads; `BUILD deb` packs
# the .deb and checks its control fields and that it holds what an install to /usr does.
set -euo pipefail
build=$1 tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
if [ "$2" = install ]; then
    cmake --install "$build" --prefix "$tmp/usr" >/dev/null
    desktop-file-validate "$tmp"/usr/share/applications/fikranest.desktop "$tmp"/usr/share/fikranest/fikranest-autostart.desktop
    appstreamcli validate --no-net "$tmp"/usr/share/metainfo/*.xml
else
    cpack --config "$build/CPackConfig.cmake" -B "$tmp/deb" -D CPACK_FIKRANEST_ANY_PREFIX=ON >/dev/null
    deb=$tmp/deb/fikranest_1.1_amd64.deb
    diff <(dpkg-deb -f "$deb" Package Version Architecture Section) <(printf 'Package: fikranest\nVersion: 1.1\nArchitecture: amd64\nSection: utils\n')
    depends=$(dpkg-deb -f "$deb" Depends)
    for d in libc6 libqt6quick6 libqt6multimedia6 libqt6network6 libssl3 libarchive13 qml6-module-qtquick-controls \
        fonts-noto-color-emoji dbus qt6-wayland; do
        grep -Eq "(^|, )$d( |,|$)" <<<"$depends" || { echo "Depends lacks $d: $depends"; exit 1; }
    done
    DESTDIR="$tmp" cmake --install "$build" --prefix /usr >/dev/null
    diff <(cd "$tmp" && find ./usr ! -type d | sort) <(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $6}' | sort)
fi
cd "$tmp/usr"
for f in bin/fikranest share/applications/fikranest.desktop share/metainfo/io.github.fikranest.Fikranest.metainfo.xml \
    share/icons/hicolor/scalable/apps/fikranest.svg share/icons/hicolor/symbolic/apps/fikranest-symbolic.svg share/fikranest/fikranest-autostart.desktop; do
    [ -f "$f" ] || { echo "not installed: $f"; exit 1; }
done
for s in 16 24 32 48 64 128 256; do
    file "share/icons/hicolor/${s}x$s/apps/fikranest.png" | grep -q "PNG image data, $s x $s," || { echo "no ${s}px icon"; exit 1; }
done
ls lib*/fikranest/libfikranest_audio.so lib*/fikranest/libfikranest_update.so lib*/fikranest/libfikranest_unpack.so >/dev/null
[ ! -f "$build/vosk/libvosk.so" ] || ls lib*/fikranest/libvosk.so >/dev/null
