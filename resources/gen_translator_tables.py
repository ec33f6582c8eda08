#!/usr/bin/env python3
"""Generates the three text-conversion tables that the translator loads from the resource package.

  gb2312.dat                  hexadecimal code of every character of GB2312, one per line
  unicode_pinyin.dat          "<hex code> <pinyin><tone digit>" per line, e.g. "597D hao3"
  traditional_simplified.dat  "<traditional> <simplified>" per line

The Han characters and their readings come from Debian's Unihan database (unicode-data):
kGB0 (GB2312), kMandarin (pinyin), kSimplifiedVariant and kTraditionalVariant (the pairs). Unihan covers
Han characters only, so the symbol rows of GB2312 (full-width punctuation, kana, box drawing...) are
added from Python's GB18030 codec, the printer's code page; without them every "，" on a receipt would
print as "(*)". The table holds only characters that the code page encodes as a two-byte GB2312 code.
Only characters of the Basic Multilingual Plane are written: the translator works on 16-bit units.
"""

import argparse
import bz2
import os
import sys
import unicodedata

TONE_MARKS = {
    "\u0304": "1",  # macron
    "\u0301": "2",  # acute
    "\u030C": "3",  # caron
    "\u0300": "4",  # grave
}
NEUTRAL_TONE = "5"


def read_field(unihan_dir, file_name, field):
    """Yields (code point, value) for every line of the field in one Unihan file."""
    path = os.path.join(unihan_dir, file_name)
    with bz2.open(path, "rt", encoding="utf-8") as stream:
        for line in stream:
            if line.startswith("#") or not line.strip():
                continue
            parts = line.rstrip("\n").split("\t")
            if len(parts) == 3 and parts[1] == field:
                yield int(parts[0][2:], 16), parts[2]


def numbered_pinyin(reading):
    """"hǎo" -> "hao3", "lǜ" -> "lv4", "de" -> "de5": plain ASCII letters and a trailing tone digit."""
    tone = NEUTRAL_TONE
    letters = []
    for char in unicodedata.normalize("NFD", reading):
        if char in TONE_MARKS:
            tone = TONE_MARKS[char]
        elif char == "\u0308":  # the diaeresis of ü: written "v" as pinyin keyboards do
            letters[-1] = "v"
        else:
            letters.append(char)
    return "".join(letters) + tone


def code_points(value):
    """"U+4E7E U+5E72" -> [0x4E7E, 0x5E72]."""
    return [int(token[2:], 16) for token in value.split()]


def gb2312_code(char):
    """The character's two-byte GB2312 code in the printer's code page (GB18030), or None."""
    try:
        code = char.encode("gb18030")
    except UnicodeEncodeError:
        return None
    return code if len(code) == 2 and 0xA1 <= code[0] <= 0xF7 and 0xA1 <= code[1] <= 0xFE else None


def gb2312_set(unihan_dir):
    codes = {code for code, _ in read_field(unihan_dir, "Unihan_OtherMappings.txt.bz2", "kGB0")}
    # Rows 1 to 9 of GB2312 hold its symbols; rows 16 onwards are the Han characters Unihan lists. Each
    # code GB2312 defines is read through the printer's code page, which maps a few of them (A1A4, A1AA)
    # to other characters than a plain GB2312 codec does; the codes GB2312 leaves empty are skipped.
    for row in range(1, 10):
        for cell in range(1, 95):
            code = bytes([0xA0 + row, 0xA0 + cell])
            try:
                code.decode("gb2312")
            except UnicodeDecodeError:
                continue
            codes.add(ord(code.decode("gb18030")))
    # Only what the printer prints as a GB2312 code: anything else would leave as bytes outside GB2312.
    return sorted(code for code in codes if code <= 0xFFFF and gb2312_code(chr(code)))


def pinyin_map(unihan_dir):
    table = {}
    for code, value in read_field(unihan_dir, "Unihan_Readings.txt.bz2", "kMandarin"):
        if code <= 0xFFFF:
            # The first reading is the customary one.
            table[code] = numbered_pinyin(value.split()[0])
    return sorted(table.items())


def variant_pairs(unihan_dir):
    """(traditional, simplified) pairs, ordered so that the preferred traditional form of each simplified
    character comes first: the loader keeps the first entry of a key."""
    simplified = {}
    for code, value in read_field(unihan_dir, "Unihan_Variants.txt.bz2", "kSimplifiedVariant"):
        targets = code_points(value)
        # A character that is also its own simplified form (乾: 乾 or 干) is left alone: which one a text
        # means depends on the word.
        if code in targets or code > 0xFFFF or targets[0] > 0xFFFF:
            continue
        simplified[code] = targets[0]
    traditional = {}
    for code, value in read_field(unihan_dir, "Unihan_Variants.txt.bz2", "kTraditionalVariant"):
        traditional[code] = code_points(value)

    pairs = []
    written = set()
    for simple in sorted(set(simplified.values())):
        for candidate in traditional.get(simple, []):
            if simplified.get(candidate) == simple:
                pairs.append((candidate, simple))
                written.add(candidate)
                break
    pairs.extend((trad, simple) for trad, simple in sorted(simplified.items()) if trad not in written)
    return pairs


def write_text(path, lines):
    temporary = path + ".tmp"
    with open(temporary, "w", encoding="utf-8", newline="\n") as stream:
        stream.writelines(line + "\n" for line in lines)
    os.replace(temporary, path)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--unihan", required=True, help="directory holding Unihan_*.txt.bz2")
    parser.add_argument("--out", required=True, help="directory to write the .dat files to")
    args = parser.parse_args()
    try:
        os.makedirs(args.out, exist_ok=True)
        write_text(os.path.join(args.out, "gb2312.dat"), ["%04X" % code for code in gb2312_set(args.unihan)])
        write_text(os.path.join(args.out, "unicode_pinyin.dat"),
                   ["%04X %s" % (code, pinyin) for code, pinyin in pinyin_map(args.unihan)])
        write_text(os.path.join(args.out, "traditional_simplified.dat"),
                   ["%s %s" % (chr(trad), chr(simple)) for trad, simple in variant_pairs(args.unihan)])
    except (OSError, ValueError) as error:
        print("gen_translator_tables: %s" % error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
