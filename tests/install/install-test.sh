#!/bin/sh
# Calvorin installed as a desktop program: `cmake --install` into a private
# prefix puts every file where the install layout says, nothing outside
# the prefix; the desktop entries, the MIME package and the man pages are
# valid; the desktop knows event sets by name and by content and opens them
# with Calvorin; the add-on SDK builds the example add-on on its own; and
# the installed application, moved elsewhere as a whole, finds its
# companion in libexec.
# Arguments: the build folder, the source folder.
set -u

build=$(cd "$1" && pwd)
source=$(cd "$2" && pwd)
work=$(mktemp -d)
prefix="$work/prefix"

fail() {
    echo "install-test: $*" >&2
    exit 1
}
note() {
    echo "install-test: $*"
}

# Whatever happens, no program started here stays behind: every process
# that runs a program of the private installation is ended (asked first,
# then killed).
ours() {
    for entry in /proc/[0-9]*; do
        exe=$(readlink "$entry/exe" 2>/dev/null) || continue
        case "$exe" in
            "$work"/*) echo "${entry#/proc/}" ;;
        esac
    done
}
cleanup() {
    pids=$(ours)
    if [ -n "$pids" ]; then
        # shellcheck disable=SC2086
        kill $pids 2>/dev/null
        i=0
        while [ -n "$(ours)" ] && [ "$i" -lt 30 ]; do
            sleep 0.1
            i=$((i + 1))
        done
        pids=$(ours)
        # shellcheck disable=SC2086
        [ -z "$pids" ] || kill -9 $pids 2>/dev/null
    fi
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM HUP

# A private desktop: nothing of the user's is read or changed.
export HOME="$work/home"
export XDG_CONFIG_HOME="$work/home/.config"
export XDG_DATA_HOME="$work/home/.local/share"
export XDG_RUNTIME_DIR="$work/run"
export XDG_DATA_DIRS="$work/no-system-data"
unset XDG_CONFIG_DIRS XDG_CURRENT_DESKTOP DESKTOP_SESSION DISPLAY WAYLAND_DISPLAY
mkdir -p "$HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"

# --- the installation ------------------------------------------------------
# The install folders of this build (GNUInstallDirs, as configured).
layout="$build/data/install-layout.sh"
[ -f "$layout" ] || fail "$layout is missing: configure the build again"
. "$layout"
# A relocatable layout only: every folder inside the prefix.
for folder in "$bindir" "$libdir" "$libexecdir" "$includedir" "$datadir" "$mandir" "$docdir" \
              "$autostartdir"; do
    case "$folder" in
        /*) fail "this build installs into $folder, outside any prefix (it was configured for $configured_prefix); use a build with another prefix" ;;
    esac
done

cmake --install "$build" --prefix "$prefix" > "$work/install.log" 2>&1 ||
    fail "cmake --install failed: $(cat "$work/install.log")"

# Everything went into the prefix, and nowhere else.
manifest="$build/install_manifest.txt"
[ -s "$manifest" ] || fail "no install manifest was written"
outside=$(grep -v "^$prefix/" "$manifest" || true)
[ -z "$outside" ] || fail "installed outside the prefix: $outside"
grep -q "Updating the MIME database" "$work/install.log" &&
    fail "a private prefix had its MIME database updated as if it were the desktop's"

# The layout.
for f in \
    "$bindir/calvorinctl" \
    "$libexecdir/calvorin/CalvorinBackground" \
    "$libdir/calvorin/add-ons/LogToFile.so" \
    "$libdir/pkgconfig/calvorin-addon.pc" \
    "$docdir/Calvorin documentation.html" \
    "$datadir/applications/calvorin.desktop" \
    "$datadir/mime/packages/calvorin.xml" \
    "$datadir/icons/hicolor/scalable/apps/calvorin.svg" \
    "$datadir/icons/hicolor/scalable/mimetypes/application-x-vnd.QZ-CalvorinEventSet.svg" \
    "$autostartdir/calvorin.desktop" \
    "$mandir/man1/calvorin.1.gz" \
    "$mandir/man1/calvorinctl.1.gz"; do
    [ -f "$prefix/$f" ] || fail "missing: $f"
done
for f in "$bindir/calvorinctl" "$libexecdir/calvorin/CalvorinBackground"; do
    [ -x "$prefix/$f" ] || fail "not executable: $f"
done
for header in "$source"/include/calvorin/*.h; do
    [ -f "$prefix/$includedir/calvorin/$(basename "$header")" ] ||
        fail "missing header: $includedir/calvorin/$(basename "$header")"
done
for size in 16 22 24 32 48 64 128 256; do
    for icon in apps/calvorin mimetypes/application-x-vnd.QZ-CalvorinEventSet; do
        png="$prefix/$datadir/icons/hicolor/${size}x$size/$icon.png"
        [ -f "$png" ] || fail "missing icon: ${size}x$size/$icon.png (is rsvg-convert, from librsvg2-bin, installed?)"
        # A PNG of the size its folder names: the width and height in the header.
        dims=$(od -An -tu1 -j16 -N8 "$png" | awk '{ print $3 * 256 + $4, $7 * 256 + $8 }')
        [ "$dims" = "$size $size" ] || fail "${size}x$size/$icon.png is $dims"
    done
done
cmp -s "$prefix/$docdir/Calvorin documentation.html" "$source/data/manual/Calvorin documentation.html" ||
    fail "the installed help document differs from data/manual"

# The tool runs from its installed place and tells its version.
version=$("$prefix/$bindir/calvorinctl" --version) || fail "the installed calvorinctl does not run"
project_version=$(sed -n 's/^project(Calvorin VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")
[ "$version" = "calvorinctl $project_version" ] || fail "calvorinctl --version says \"$version\""

# --- desktop entries, MIME package, man pages ---------------------------------
desktop-file-validate "$prefix/$datadir/applications/calvorin.desktop" ||
    fail "the desktop entry is not valid"
autostart="$prefix/$autostartdir/calvorin.desktop"
desktop-file-validate "$autostart" || fail "the autostart entry is not valid"
grep -qx "Exec=calvorin -background" "$autostart" || fail "autostart does not run calvorin -background"
grep -qx "X-GNOME-Autostart-enabled=true" "$autostart" || fail "autostart is not enabled"
grep -qx "NoDisplay=true" "$autostart" || fail "autostart entry is shown in menus"

mime_package="$prefix/$datadir/mime/packages/calvorin.xml"
xmllint --noout "$mime_package" || fail "the MIME package is not well-formed XML"
schema=""
for candidate in /usr/share/xml/shared-mime-info/shared-mime-info.xsd \
                 /usr/share/shared-mime-info/shared-mime-info.xsd; do
    [ -f "$candidate" ] && schema="$candidate"
done
if [ -n "$schema" ]; then
    xmllint --noout --schema "$schema" "$mime_package" ||
        fail "the MIME package does not follow $schema"
else
    note "no shared-mime-info schema on this machine; the MIME package was checked for well-formedness only"
fi

for page in calvorin calvorinctl; do
    gzip -dc "$prefix/$mandir/man1/$page.1.gz" | cmp -s - "$source/data/man/$page.1" ||
        fail "the installed $page.1.gz is not data/man/$page.1"
done

# --- the desktop knows event sets --------------------------------------------
# Now the private prefix's data folder is the user's data folder: installing
# there again brings the MIME and desktop entry caches up to date. gio is
# what xdg-mime asks on GNOME; the generic path would ask file(1), which
# does not read the shared MIME database.
export XDG_DATA_HOME="$prefix/$datadir"
cmake --install "$build" --prefix "$prefix" > "$work/install-live.log" 2>&1 ||
    fail "cmake --install failed the second time: $(cat "$work/install-live.log")"
grep -q "Updating the MIME database" "$work/install-live.log" ||
    fail "installing into the desktop's data folder did not update its MIME database"
[ -f "$XDG_DATA_HOME/mime/mime.cache" ] || fail "no MIME cache after the install"
[ -f "$XDG_DATA_HOME/applications/mimeinfo.cache" ] || fail "no desktop entry cache after the install"

type="application/x-vnd.QZ-CalvorinEventSet"
"$prefix/$bindir/calvorinctl" new "$work/Work.calvorin" > /dev/null || fail "calvorinctl new failed"
mimetype_of() {
    XDG_CURRENT_DESKTOP=GNOME xdg-mime query filetype "$1"
}
[ "$(mimetype_of "$work/Work.calvorin")" = "$type" ] ||
    fail "an event set is not known by its name: $(mimetype_of "$work/Work.calvorin")"
# By content: both byte orders and the three versions, whatever the name.
for flag in '\000' '\001'; do
    for v in 1.0 1.1 1.2; do
        printf "$flag$v\\000\\000\\000\\000\\000" > "$work/set-$v"
        [ "$(mimetype_of "$work/set-$v")" = "$type" ] ||
            fail "a version $v set without its extension is $(mimetype_of "$work/set-$v")"
    done
done
cp "$work/Work.calvorin" "$work/renamed.bin"
[ "$(mimetype_of "$work/renamed.bin")" = "$type" ] || fail "a saved set is not known by its content"
# Not every file that starts alike is an event set.
printf '\0001.3\000\000\000\000\000' > "$work/not-a-set"
printf '\0021.2\000\000\000\000\000' > "$work/not-a-set-either"
printf '\0001.2x\000\000\000\000' > "$work/nor-this"
for f in not-a-set not-a-set-either nor-this; do
    [ "$(mimetype_of "$work/$f")" != "$type" ] || fail "$f was taken for an event set"
done

default=$(xdg-mime query default "$type")
[ "$default" = "calvorin.desktop" ] || fail "event sets open with \"$default\", not calvorin.desktop"

# --- the add-on SDK -----------------------------------------------------------
# The installed headers and pkg-config file are all an add-on author needs:
# the example add-on builds from them alone and exports its entry points.
export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
flags=$(pkg-config --cflags --libs calvorin-addon) || fail "pkg-config does not know calvorin-addon"
[ "$(pkg-config --modversion calvorin-addon)" = "$project_version" ] || fail "calvorin-addon has the wrong version"
[ "$(pkg-config --variable=addondir calvorin-addon)" -ef "$prefix/$libdir/calvorin/add-ons" ] ||
    fail "calvorin-addon's addondir is not the installed add-on folder"
# shellcheck disable=SC2086
c++ -std=c++20 -fPIC -shared -fvisibility=hidden -Wl,-z,defs $flags \
    -o "$work/LogToFile.so" "$source"/addons/example/*.cpp 2> "$work/sdk.err" ||
    fail "the example add-on does not build against the installed SDK: $(cat "$work/sdk.err")"
for symbol in InitializeAddOn NewAddOnData CleanUpAddOn; do
    nm -D --defined-only "$work/LogToFile.so" | grep -q " T $symbol\$" ||
        fail "the add-on built against the SDK does not export $symbol"
done

# --- the installed application --------------------------------------------
if [ ! -e "$prefix/$bindir/calvorin" ]; then
    note "SKIPPED the application part: this build has no calvorin yet (src/app)"
    echo "install: ok (without the application)"
    exit 0
fi

# The whole installation moves; the programs find each other relative to
# where they are now. A decoy "calvorin" comes first on PATH: the companion
# must start the installed application beside it, not whatever PATH finds.
moved="$work/moved"
mv "$prefix" "$moved"
export XDG_DATA_HOME="$moved/$datadir"
app="$moved/$bindir/calvorin"
ctl="$moved/$bindir/calvorinctl"
expected_companion="$moved/$libexecdir/calvorin/CalvorinBackground"
mkdir -p "$work/decoy"
printf '#!/bin/sh\necho "$0 $*" >> "%s"\n' "$work/decoy.log" > "$work/decoy/calvorin"
chmod 755 "$work/decoy/calvorin"
export PATH="$work/decoy:$PATH"

app_version=$(QT_QPA_PLATFORM=offscreen "$app" --version 2>&1) || fail "calvorin --version failed: $app_version"
[ "$app_version" = "calvorin $project_version" ] || fail "calvorin --version says \"$app_version\""

# Started as at login: it delivers (nothing), hands the companion the next
# time and ends; the companion stays.
export QT_QPA_PLATFORM=offscreen
"$app" -background > "$work/app.out" 2>&1 < /dev/null &
app_pid=$!
i=0
while kill -0 "$app_pid" 2>/dev/null; do
    i=$((i + 1))
    [ "$i" -gt 300 ] && fail "calvorin -background did not end within 30 s: $(cat "$work/app.out")"
    sleep 0.1
done
wait "$app_pid"
status=$?
[ "$status" -eq 0 ] || fail "calvorin -background ended with status $status: $(cat "$work/app.out")"

"$ctl" --json status > "$work/status.json" 2>&1 || fail "calvorinctl status failed: $(cat "$work/status.json")"
companion=$(sed -n 's/^ *"pid": \([0-9][0-9]*\).*/\1/p' "$work/status.json")
[ -n "$companion" ] || fail "the companion does not run after calvorin -background: $(cat "$work/status.json")"
running=$(readlink "/proc/$companion/exe")
[ "$running" = "$expected_companion" ] ||
    fail "the companion running is $running, not $expected_companion"

# At a wake-up time the companion starts the installed application, which
# reads its settings (made anew here) and ends again.
settings="$XDG_CONFIG_HOME/calvorin/settings.sqlite"
rm -f "$settings"
"$ctl" companion-set $(( $(date +%s) - 1 )) > /dev/null || fail "companion-set failed"
i=0
while [ ! -e "$settings" ]; do
    [ ! -e "$work/decoy.log" ] || fail "the companion started the calvorin on PATH: $(cat "$work/decoy.log")"
    i=$((i + 1))
    [ "$i" -gt 300 ] && fail "the companion did not start the installed calvorin at the wake-up time"
    sleep 0.1
done

"$ctl" companion-quit > /dev/null || fail "the companion did not take the quit request"
i=0
while kill -0 "$companion" 2>/dev/null; do
    i=$((i + 1))
    [ "$i" -gt 100 ] && fail "the companion did not quit"
    sleep 0.1
done

echo "install: ok"
