#!/usr/bin/env python3
"""Runs clang-tidy over the product's source files, `run_tidy.py BUILD_FOLDER`. A file that passed is
checked again only when something changed that its result hangs on: its text or a header's of ours,
how it is compiled, the checks, or an installed package."""

import hashlib
import json
import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from check_structure import INCLUDE, sources


def closure(name, texts):
    """The names of the file and of all of our headers that it reaches."""
    reached, waiting = set(), [name]
    while waiting:
        name = waiting.pop()
        if name in texts and name not in reached:
            reached.add(name)
            waiting.extend(target for _, target in INCLUDE.findall(texts[name]))
    return sorted(reached)


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def digest(*texts):
    return hashlib.sha256('\0'.join(texts).encode()).hexdigest()


def check(name, build):
    run = subprocess.run(['clang-tidy', '--quiet', '-p', str(build), name],
                         capture_output=True, text=True, check=False)
    if run.returncode:
        print(run.stdout + run.stderr, flush=True)
    return run.returncode == 0


def main():
    build = Path(sys.argv[1])
    texts = sources()
    texts.update((path.name, path.read_text(encoding='utf-8'))
                 for path in build.glob('*_autogen/include/ui_*.h'))
    commands = {os.path.relpath(entry['file']): entry['command'] for entry in
                json.loads((build / 'compile_commands.json').read_text(encoding='utf-8'))}
    everywhere = digest(Path('.clang-tidy').read_text(encoding='utf-8'), output('dpkg-query', '-W'))
    passed = build / 'tidied'
    passed.mkdir(exist_ok=True)

    def tidy(name):
        pieces = [part for reached in closure(name, texts) for part in (reached, texts[reached])]
        stamp = passed / digest(everywhere, commands[name], *pieces)
        if stamp.exists():
            return True
        fine = check(name, build)
        if fine:
            stamp.touch()
        return fine

    names = [name for name in texts if name.endswith('.cpp') and not name.startswith('tests/')]
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        return 0 if all(list(pool.map(tidy, names))) else 1


if __name__ == '__main__':
    sys.exit(main())
