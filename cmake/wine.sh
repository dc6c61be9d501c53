#!/bin/sh
# Runs one Windows program of the build under Wine, in a prefix of the build's own.
# Usage: wine.sh PROGRAM.exe [ARGUMENT...]
here=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
export WINEPREFIX="${KIV_WINEPREFIX:-$here/build/wineprefix}"
export WINEDEBUG=-all
# Neither Mono nor Gecko nor menu entries are wanted in a test prefix.
export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
mkdir -p "$(dirname -- "$WINEPREFIX")"
runtime=$(dirname -- "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++-6.dll)")
threads=$(dirname -- "$(x86_64-w64-mingw32-g++-posix -print-file-name=libwinpthread-1.dll)")
WINEPATH=$(printf 'Z:%s;Z:%s' "$runtime" "$threads")
export WINEPATH
exec wine "$@"
