#!/usr/bin/env python3
"""Makes a table for a language that reads from right to left out of the English one: each word is turned round by the
marks of bidirectional text, so that it takes the same room and can still be read, mirrored. For looking at layouts."""

import re
import sys

ENTRY = re.compile(r'^(\s{4}\w+ \{ ")((?:[^"\\]|\\.)*)(" \}.*)$')
PATTERN_OF_A_DATE = re.compile(r"^[EMdy, ]+$")
# What is no word: placeholders, marks of keyboard shortcuts, whatever else holds no letter.
PIECE = re.compile(r"(%(?:\d\$)?(?:@|lu|ld|d|%)|&(?=\w)|[^\W\d_]+)", re.UNICODE)
RIGHT_TO_LEFT_OVERRIDE, POP, MARK = "\u202e", "\u202c", "\u200f"


def turned(text):
    def piece(match):
        word = match.group(0)
        return word if word[0] in "%&" else f"{RIGHT_TO_LEFT_OVERRIDE}{word}{POP}"

    return text if PATTERN_OF_A_DATE.match(text) else MARK + PIECE.sub(piece, text)


def main():
    source, target, language = sys.argv[1:]
    with open(source, encoding="utf-8") as file:
        lines = file.read().splitlines()
    lines[0] = f"{language} {{"
    for number, line in enumerate(lines):
        entry = ENTRY.match(line)
        if entry:
            lines[number] = entry.group(1) + turned(entry.group(2)) + entry.group(3)
    with open(target, "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
