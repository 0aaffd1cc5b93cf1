#!/usr/bin/env bash
# Builds the release in the system layout (prefix /usr) and writes into DIR
#   tapdelay_<version>_amd64.deb              the Debian package
#   tapdelay-<version>-linux-x86_64.tar.gz    the same tree for other distributions
# Whatever `cmake --install` installs is packed: each plug-in format in the
# folder hosts scan, the programs in /usr/bin with manual pages made from their
# --help, the copyright file and changelog in /usr/share/doc/tapdelay/.
# It reuses the release build (build/, as run.sh and test.sh make it) and
# gives the folder its own install layout back afterwards.
#   bash tools/package.sh DIR
set -euo pipefail
[ $# -eq 1 ] || { echo "usage: bash tools/package.sh DIR" >&2; exit 2; }
mkdir -p "$1"
OUT=$(cd "$1" && pwd)
cd "$(dirname "$0")/.."

bash tools/setup.sh >/dev/null
source tools/configure.sh
JOBS=${JOBS:-$(nproc)}

cache_value() { sed -n "s/^$1:[A-Z]*=//p" "$RELEASE_BUILD/CMakeCache.txt" 2>/dev/null; }
user_prefix=$(cache_value CMAKE_INSTALL_PREFIX)
STAGE=$(mktemp -d)
restore() {
    rm -rf "$STAGE"
    configure_release -DCMAKE_INSTALL_PREFIX="${user_prefix:-/usr/local}"
}
trap restore EXIT

configure_release -DTAPDELAY_SYSTEM_INSTALL=ON -DCMAKE_INSTALL_PREFIX=/usr
cmake --build "$RELEASE_BUILD" -j"$JOBS" --target installables
VERSION=$(cache_value CMAKE_PROJECT_VERSION)
NAME=tapdelay
ROOT=$STAGE/debian/$NAME  # where dpkg-shlibdeps expects a package's files
DESTDIR=$ROOT cmake --install "$RELEASE_BUILD" >/dev/null

# The changelog's latest entry is the release being packed.
changelog_version=$(sed -n '1s/^tapdelay (\([^)]*\)).*/\1/p' tools/package/changelog)
if [ "$changelog_version" != "$VERSION" ]; then
    echo "package: tools/package/changelog starts with $changelog_version, the project is $VERSION:" \
         "add an entry for $VERSION" >&2
    exit 1
fi

# ELF files are stripped as Debian does it: programs keep their symbol
# tables' dynamic part, shared objects (plug-ins) lose what they do not export.
is_elf() { [ "$(head -c 4 "$1" | od -An -c | tr -d ' ')" = '177ELF' ]; }
ELF_FILES=()
while IFS= read -r -d '' file; do
    is_elf "$file" || continue
    ELF_FILES+=("$file")
    if [[ $file == "$ROOT/usr/bin/"* ]]; then
        strip --remove-section=.comment --remove-section=.note "$file"
    else
        strip --remove-section=.comment --remove-section=.note --strip-unneeded "$file"
    fi
done < <(find "$ROOT" -type f -print0 | sort -z)

# Manual pages from each program's --help.
declare -A SUMMARY=(
    [vsthost]="command-line host for Linux VST 2.4 plug-ins, TapDelay by default"
    [tapdelay]="the TapDelay delay as a JACK application"
)
MANUALS=$ROOT/usr/share/man/man1
for program in "$ROOT"/usr/bin/*; do
    [ -f "$program" ] || continue
    name=$(basename "$program")
    mkdir -p "$MANUALS"
    help2man --no-info --no-discard-stderr --section=1 --version-string="$VERSION" \
        --name="${SUMMARY[$name]:-part of TapDelay}" --output="$MANUALS/$name.1" "$program"
    gzip -9n "$MANUALS/$name.1"
done

DOCS=$ROOT/usr/share/doc/$NAME
mkdir -p "$DOCS" "$ROOT/usr/share/lintian/overrides"
cp tools/package/copyright "$DOCS/copyright"
gzip -9nc tools/package/changelog > "$DOCS/changelog.gz"
cp tools/package/lintian-overrides "$ROOT/usr/share/lintian/overrides/$NAME"

# Debian's modes: directories and programs 0755, everything else 0644
# (shared objects included); one time stamp, the changelog's.
find "$ROOT" -type d -exec chmod 0755 {} +
find "$ROOT" -type f -exec chmod 0644 {} +
[ -d "$ROOT/usr/bin" ] && find "$ROOT/usr/bin" -type f -exec chmod 0755 {} +
SOURCE_DATE_EPOCH=$(date -d "$(sed -n 's/^ -- .*>  //p' tools/package/changelog | head -1)" +%s)
export SOURCE_DATE_EPOCH
find "$ROOT" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +

# Depends: the packages that hold the shared libraries the ELF files use.
mkdir -p "$ROOT/DEBIAN"
printf 'Source: %s\n\nPackage: %s\nArchitecture: amd64\n' "$NAME" "$NAME" > "$STAGE/debian/control"
relative=("${ELF_FILES[@]#"$STAGE/"}")
DEPENDS=$(cd "$STAGE" && dpkg-shlibdeps -O "${relative[@]/#/-e}" |
    sed -n 's/^shlibs:Depends=//p')
[ -n "$DEPENDS" ] || { echo "package: dpkg-shlibdeps found no dependencies" >&2; exit 1; }

# What the package holds, for the description and the tarball's note.
formats=()
[ -d "$ROOT/usr/lib/vst" ] && formats+=("VST 2.4 (/usr/lib/vst/TapDelay)")
[ -d "$ROOT/usr/lib/vst3" ] && formats+=("VST 3 (/usr/lib/vst3)")
[ -d "$ROOT/usr/lib/clap" ] && formats+=("CLAP (/usr/lib/clap)")
[ -d "$ROOT/usr/lib/lv2" ] && formats+=("LV2 (/usr/lib/lv2/TapDelay.lv2)")
programs=$(cd "$ROOT/usr/bin" 2>/dev/null && ls | paste -sd, | sed 's/,/, /g')

(cd "$ROOT" && find usr -type f -print0 | sort -z | xargs -0 md5sum) > "$ROOT/DEBIAN/md5sums"
chmod 0644 "$ROOT/DEBIAN/md5sums"
cat > "$ROOT/DEBIAN/control" <<EOF
Package: $NAME
Version: $VERSION
Architecture: amd64
Maintainer: $(sed -n 's/^ -- \(.*>\)  .*/\1/p' tools/package/changelog | head -1)
Installed-Size: $(du -sk --exclude=DEBIAN "$ROOT" | cut -f1)
Depends: $DEPENDS
Section: sound
Priority: optional
Description: six-tap stereo delay audio plug-in
 TapDelay is a stereo delay with six taps, each with its own time, gain,
 pan and filter (low shelf, peaking or high shelf). The taps feed back when
 feedback is on and follow the host's tempo when tempo sync is on. It comes
 with 40 factory programs and a scalable editor for X11 hosts.
 .
$(echo "Plug-in formats: $(IFS=';'; echo "${formats[*]}" | sed 's/;/, /g'). Programs: $programs." |
  fold -s -w 76 | sed 's/ *$//; s/^/ /')
EOF
dpkg-deb --root-owner-group -Zxz --build "$ROOT" "$OUT/${NAME}_${VERSION}_amd64.deb" >/dev/null

# The tarball: the same tree under tapdelay-<version>/, with a note.
rm -rf "$ROOT/DEBIAN"
TOP=$NAME-$VERSION
mv "$ROOT" "$STAGE/$TOP"
items=$(cd "$STAGE/$TOP" && find usr \( -path 'usr/lib/*/*' -o -path 'usr/bin/*' -o -path 'usr/share/doc/*' \
        -o -path 'usr/share/man/*/*' -o -type f \) -prune -print | sort | sed 's|^|    /|')
awk -v version="$VERSION" -v depends="$DEPENDS" -v items="$items" '
    $0 == "@ITEMS@" { print items; next }
    { gsub(/@VERSION@/, version); sub(/@DEPENDS@/, depends); print }' tools/package/INSTALL > "$STAGE/$TOP/INSTALL"
chmod 0644 "$STAGE/$TOP/INSTALL"
touch --date="@$SOURCE_DATE_EPOCH" "$STAGE/$TOP/INSTALL" "$STAGE/$TOP"
tar -C "$STAGE" --sort=name --owner=0 --group=0 --numeric-owner --mtime="@$SOURCE_DATE_EPOCH" \
    -cf - "$TOP" | gzip -9n > "$OUT/$NAME-$VERSION-linux-x86_64.tar.gz"

echo "package: $OUT/${NAME}_${VERSION}_amd64.deb"
echo "package: $OUT/$NAME-$VERSION-linux-x86_64.tar.gz"
