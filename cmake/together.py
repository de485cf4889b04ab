#!/usr/bin/env python3
"""together.py FILE...   prints these sources in groups, one a line, that can be compiled as if each group were one file

Most of the time of a compiler goes into the headers that all of them include. Two sources that keep something of
the same name to themselves, with another meaning, are never in a group.
"""

import os
import re
import sys

DOZEN = 12
# What a file keeps to itself, by the house's formatting: in column 0 of a namespace without a name.
UNNAMED = re.compile(r"^namespace \{\n(.*?)^\}  // namespace$", re.MULTILINE | re.DOTALL)
OWN_NAME = re.compile(r"^(?!using|[A-Z_]+\()\w[^\n(={;]*?(\w+)(?: final)?(?: : [^\n]*)?\s*(?:[(={;\[]|$)", re.MULTILINE)
ALIAS = re.compile(r"^using (?!namespace)(?:(\w+) = )?([^;]*?(\w+)[^;\w]*);", re.MULTILINE)
MAIN = re.compile(r"^int main\(", re.MULTILINE)


def own_names(name):
    """What a file calls its own, each with its meaning: other files may give a name the same meaning."""
    with open(name, encoding="utf-8") as file:
        text = file.read()
    blocks = [*UNNAMED.findall(text), *MAIN.findall(text)]
    own = {helper: name for block in blocks for helper in OWN_NAME.findall(block)}
    return own | {alias or last: meaning for alias, meaning, last in ALIAS.findall(text)}


def dozens(names):
    """These files in groups of which no two mean different things by a name of their own."""
    groups = []
    for name in sorted(names):
        own = own_names(name)
        for group, taken in groups:
            if len(group) < DOZEN and all(taken.get(known, meaning) == meaning for known, meaning in own.items()):
                group.append(name)
                taken.update(own)
                break
        else:
            groups.append(([name], own))
    return [group for group, _ in groups]


if __name__ == "__main__":
    for group in dozens(sys.argv[1:]):
        print(";".join(group))
