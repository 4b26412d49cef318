#!/bin/sh
# Fails when a folder that must build without Qt includes a Qt header.
top="$1"
hits=$(grep -rnE '^\s*#\s*include\s*[<"](Q[A-Za-z]|qt)' \
    "$top/src/core" "$top/src/storage" "$top/src/handlers" "$top/src/prefs" \
    "$top/src/platform" "$top/src/companion" "$top/src/cli" "$top/include" 2>/dev/null \
)
if [ -n "$hits" ]; then
    echo "Qt headers in Qt-free folders:"
    echo "$hits"
    exit 1
fi
echo "no Qt headers in the core"
