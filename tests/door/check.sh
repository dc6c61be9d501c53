#!/bin/sh
# The door from a user's side. Usage: check.sh REPOSITORY, with the tool already built.
set -u
door=$1/kiv
samples=$1/samples
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    printf 'door: %s\n' "$*" >&2
    exit 1
}

# Relative names are the caller's, wherever the door stands and however it is called.
cp "$samples/latin.doc" "$work/mine.doc"
ln -s "$door" "$work/door"
cd "$work" || exit 1
./door props mine.doc >out 2>err || fail "props failed: $(cat err)"
[ "$(head -n 1 out)" = mine.doc ] || fail "printed $(head -n 1 out)"
[ -s err ] && fail "has something to say once all is built: $(cat err)"

# Exit codes and output pass through unchanged.
"$door" props none.doc >out 2>err
[ $? -eq 1 ] || fail 'a missing file does not exit with 1'
[ -s out ] && fail 'a message on standard output'
[ "$(wc -l <err)" -eq 1 ] || fail "not one message: $(cat err)"
"$door" bogus >/dev/null 2>&1
[ $? -eq 2 ] || fail 'a wrong call does not exit with 2'
"$door" extract mine.doc parts || fail 'extract failed'
"$door" cat - WordDocument <mine.doc | cmp - parts/WordDocument || fail 'bytes changed on their way'
