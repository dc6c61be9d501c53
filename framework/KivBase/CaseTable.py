#!/usr/bin/env python3
"""Writes CaseTable.h, the simple Unicode case mappings of the basic plane:
    CaseTable.py > CaseTable.h && clang-format -i CaseTable.h

Python maps a character to its full form. Where that is one character it is the simple form as well. Where it is longer,
the simple upper-case form is the title-case form (U+1FB3 and its kin), the simple folding is the lower-case form
(U+1E9E and its kin), and U+0130 alone has a simple lower-case form.
"""
import unicodedata

BASIC_PLANE = [chr(code) for code in range(0x10000) if not 0xD800 <= code <= 0xDFFF]


def lower(char):
    return char.lower() if len(char.lower()) == 1 else char.lower()[0] if char == "\u0130" else char


def upper(char):
    return next((form for form in (char.upper(), char.title()) if len(form) == 1), char)


def fold(char):
    return next((form for form in (char.casefold(), char.lower()) if len(form) == 1), char)


def rows(mapping):
    """Runs of characters at an even distance that all move by the same amount: [first, last, delta, stride]."""
    runs = []
    for char in BASIC_PLANE:
        code, delta = ord(char), (ord(mapping(char)) - ord(char)) & 0xFFFF
        if delta == 0:
            continue
        run = runs[-1] if runs else None
        is_alone = run and run[0] == run[1]
        if run and run[2] == delta and (code - run[1] <= 2 if is_alone else code - run[1] == run[3]):
            run[1], run[3] = code, code - run[1]
        else:
            runs.append([code, code, delta, 1])
    return runs


def table(name, mapping):
    lines = [f"    {{0x{first:04X}, 0x{last:04X}, 0x{delta:04X}, {stride}}}," for first, last, delta, stride in rows(mapping)]
    return "\n".join([f"inline constexpr CaseRow {name}[] = {{", *lines, "};"])


print(f"""// Simple case mappings of the basic plane, Unicode {unicodedata.unidata_version}. Made by CaseTable.py.
#pragma once

namespace Kiv
{{

// The units first, first + stride, ... last have a counterpart, delta away (modulo 2^16).
struct CaseRow {{
    unsigned short first;
    unsigned short last;
    unsigned short delta;
    unsigned short stride;
}};

// In the order of their units; no unit lies in two rows' ranges.
{table("LOWER_CASE", lower)}

{table("UPPER_CASE", upper)}

{table("CASE_FOLDED", fold)}

}} // namespace Kiv""")
