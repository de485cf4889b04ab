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
CALL = re.compile(r"(?<![\w.:>~])(\w+)\(")
MAIN = re.compile(r"^(?:int main|extern \"C\" int LLVMFuzzerTestOneInput)\(", re.MULTILINE)
INCLUDE = re.compile(r'^#include "([^"]+)"', re.MULTILINE)
TYPE = re.compile(r"^(?:class|struct|enum class) (?:QUILLO_\w+(?:\([^)]*\))? )?(\w+)", re.MULTILINE)
TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def own_names(text, name):
    """What a file calls its own, each with its meaning: other files may give a name the same meaning."""
    blocks = [*UNNAMED.findall(text), *MAIN.findall(text)]
    own = {helper: name for block in blocks for helper in OWN_NAME.findall(block)}
    return own | {alias or last: meaning for alias, meaning, last in ALIAS.findall(text)}


class Headers:
    """What the headers of the project declare for whoever includes them."""

    def __init__(self):
        self.read = {}

    def included(self, text):
        """The headers that a text includes, those that they include among them."""
        found = set()
        waiting = INCLUDE.findall(text)
        while waiting:
            name = waiting.pop()
            if name not in found:
                found.add(name)
                waiting += INCLUDE.findall(self.text(name))
        return found

    def text(self, name):
        if name not in self.read:
            path = os.path.join(TOP, name)
            self.read[name] = ""
            # One that is made by the build declares nothing of which anybody has a namesake.
            if os.path.exists(path):
                with open(path, encoding="utf-8") as file:
                    self.read[name] = file.read()
        return self.read[name]

    def types(self, text):
        return {kind for name in self.included(text) for kind in TYPE.findall(self.text(name))}


def dozens(names):
    """These files in groups of which no two mean different things by a name of their own."""
    headers = Headers()
    groups = []
    for name in sorted(names):
        with open(name, encoding="utf-8") as file:
            text = file.read()
        own = own_names(text, name)
        meant = (set(CALL.findall(text)) | headers.types(text)) - own.keys()
        for group, taken, others in groups:
            if (
                len(group) < DOZEN
                and all(taken.get(known, meaning) == meaning for known, meaning in own.items())
                and meant.isdisjoint(taken)
                and others.isdisjoint(own)
            ):
                group.append(name)
                taken.update(own)
                others.update(meant)
                break
        else:
            groups.append(([name], own, meant))
    return [group for group, _, _ in groups]


if __name__ == "__main__":
    for group in dozens(sys.argv[1:]):
        print(";".join(group))
