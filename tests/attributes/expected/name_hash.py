#!/usr/bin/env python3
"""Prints the rows of name_hash.inc: names and their 64-bit hashes, worked out from the definition."""

MASK = (1 << 64) - 1
SHIFTS = [(43, 9, 8), (38, 23, 5), (35, 49, 11), (12, 18, 22)]


def mix(a, b, c):
    for right_a, left_b, right_c in SHIFTS:
        a = (a - b - c) & MASK
        a ^= c >> right_a
        b = (b - c - a) & MASK
        b ^= (a << left_b) & MASK
        c = (c - a - b) & MASK
        c ^= b >> right_c
    return a, b, c


def name_hash(name, ignore_case):
    data = bytes((ord(ch) & 0xFF) | (0x20 if ignore_case else 0) for ch in name)
    state = [0xA518C95D1B2E3917, 0x9E3779B9A6C517EB, 0x6A81C43A71D2E082]
    turn = 0
    for at in range(0, len(data), 8):
        word = data[at:at + 8]
        state[turn] = (state[turn] + int.from_bytes(word, "little")) & MASK
        if len(word) == 8:
            turn += 1
            if turn == 3:
                state = list(mix(*state))
                turn = 0
    return mix(*state)[2]


NAMES = ["", "a", "ab", "abc", "abcd", "abcdefg", "abcdefgh", "abcdefghi", "sync_mode", "scaling_quality.blocks",
         "pull_mode.cycles_before_disc", "0123456789abcdefghijklm", "0123456789abcdefghijklmn",
         "0123456789abcdefghijklmno", "Video", "VIDEO_BLOCK"]
for name in NAMES:
    print('{u"%s", 0x%016Xull, 0x%016Xull},' % (name, name_hash(name, True), name_hash(name, False)))
