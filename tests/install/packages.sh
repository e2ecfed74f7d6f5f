#!/usr/bin/env bash
# The packages that cpack makes hold what an installation holds.
. "$(dirname "$0")/common.sh"

generators=TGZ
[ "$(uname)" = Darwin ] || generators='DEB;TGZ'
"$KV_CPACK" --config "$KV_BUILD/CPackConfig.cmake" -G "$generators" -B "$work" >"$work/cpack.txt" ||
    { cat "$work/cpack.txt"; fail "cpack"; }

installed=$(cd "$KV_PREFIX" && find . -type f | sed 's,^\./,,' | LC_ALL=C sort)
archive=$(find "$work" -maxdepth 1 -name 'VcPatch-*.tar.gz')
same "$installed" "$(tar tzf "$archive" | grep -v '/$' | sed 's,^[^/]*/,,' | LC_ALL=C sort)" \
    "the archive"

[ "$generators" != TGZ ] || exit 0
package=$(find "$work" -maxdepth 1 -name 'vcpatch_*.deb')
[ -n "$package" ] || fail "no Debian package"
command -v dpkg-deb >/dev/null || exit 0
same vcpatch "$(dpkg-deb -f "$package" Package)" "the package's name"
same "$(sed -n 's/.*KvVelocoreVersion = "\(.*\)";/\1/p' "$KV_SOURCE/updater/KvRunPaths.cpp")" \
    "$(dpkg-deb -f "$package" Version)" "the package's version"
dpkg-deb -x "$package" "$work/root"
same "$installed" "$(cd "$work/root/usr" && find . -type f | sed 's,^\./,,' | LC_ALL=C sort)" \
    "the package"
rm -rf "$work"
