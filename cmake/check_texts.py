#!/usr/bin/env python3
"""Compares the keys, images, sounds and legal texts that the product names with the string tables and the shipped
resources. Prints every finding and exits with 1 when there is one."""

import json
import re
import subprocess
import sys
from pathlib import Path

RESOURCES = Path('resources')
LANGUAGES = ('de', 'en')
NO_PRODUCT = ('tests/', 'demo/', 'bench/')

LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
# What looks like a key or an image is one, wherever it stands: a name passed on is seen as well.
KEY_SHAPE = re.compile(r'[a-z]+(?:_[a-z]+)+')
IMAGE_SHAPE = re.compile(r'(?:quillo|quilo|if|ic)[_-][\w-]+')
# Words of other systems that look like a key of ours.
FOREIGN = {'binfmt_misc', 'rpc_pipefs', 'qt_msgbox_informativelabel'}

KEY_CALLS = ('localized', 'titles', 'Section')
KEY_BODY = re.compile(r'^QString \w*[kK]ey\([^)]*\)\n\{\n(.*?)^\}', re.MULTILINE | re.DOTALL)
IMAGE_CALLS = ('setImageName', 'shippedIcon', 'imagePath')
SOUND_CALLS = ('play', 'soundPath')
SIDEBAR_ROW = re.compile(r'\bDescription\{[^"{}]*"\w*",\s*u"(\w*)",\s*u"([\w-]*)"\}')


def keys_of(language):
    """The keys of the language's string table."""
    [table] = (RESOURCES / f'{language}.lproj').glob('Localizable.*')
    text = table.read_text(encoding='utf-8')
    if table.suffix == '.json':
        return set(json.loads(text))
    return set(re.findall(r'^\s*"(\w+)"\s*=', text, re.MULTILINE))


def product():
    names = subprocess.run(
        ['git', 'ls-files', '--cached', '--others', '--exclude-standard', '--', '*.h', '*.cpp'],
        check=True, capture_output=True, text=True).stdout.split()
    texts = [Path(name).read_text(encoding='utf-8') for name in names
             if not name.startswith(NO_PRODUCT) and Path(name).exists()]
    return re.sub(r'^\s*(?://|#include).*$', '', '\n'.join(texts), flags=re.MULTILINE)


def arguments(text, functions):
    """The text between the brackets of every call of one of the functions."""
    for call in re.finditer(r'\b(?:' + '|'.join(functions) + r')[({]', text):
        depth, end = 1, call.end()
        while depth:
            depth += (text[end] in '({') - (text[end] in ')}')
            end += 1
        yield text[call.end():end - 1]


def literals(pieces):
    return {word for piece in pieces for word in LITERAL.findall(piece) if word}


def used_keys(text, images):
    """What is looked up; of a name made of a stem and an ending every one that the code can make."""
    rows = {row.group(1) for row in SIDEBAR_ROW.finditer(text)} - {''}
    shaped = {word for word in LITERAL.findall(text) if KEY_SHAPE.fullmatch(word)}
    called = literals(arguments(text, KEY_CALLS)) | literals(KEY_BODY.findall(text))
    words = rows | called | (shaped - images - FOREIGN)
    words = {word for word in words if re.fullmatch(r'\w+', word)}
    endings = {word for word in words if word.startswith('_')}
    stems = {word for body in re.findall(r'^QString keyStem\(.*?^\}', text, re.MULTILINE | re.DOTALL)
             for word in LITERAL.findall(body)}
    return words - endings - stems | {stem + ending for stem in stems for ending in endings}


def compare(kind, used, held):
    yield from (f'{kind} missing: {name}' for name in sorted(used - held))
    yield from (f'{kind} that nobody uses: {name}' for name in sorted(held - used))


def main():
    text = product()
    every = set(LITERAL.findall(text))
    images = {path.stem for path in (RESOURCES / 'images').iterdir()}
    sounds = {path.stem for path in (RESOURCES / 'sounds').iterdir()}
    keys = used_keys(text, images)
    shown = literals(arguments(text, IMAGE_CALLS)) | {row.group(2) for row in
                                                      SIDEBAR_ROW.finditer(text)} - {''}
    shown |= {word for word in every if IMAGE_SHAPE.fullmatch(word) or word in images - keys}
    findings = [finding for language in LANGUAGES
                for finding in compare(f'{language} text', keys, keys_of(language))]
    findings += compare('image', shown, images)
    findings += compare('sound', literals(arguments(text, SOUND_CALLS)), sounds)
    findings += compare('legal text', set(re.findall(r':/legal/(\w+)\.md', text)),
                        {path.stem for path in (RESOURCES / 'legal').iterdir()})
    print('\n'.join(findings), end='\n' if findings else '')
    return 1 if findings else 0


if __name__ == '__main__':
    sys.exit(main())
