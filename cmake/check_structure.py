#!/usr/bin/env python3
"""Checks what the compiler does not: the ladder of the folders, no circle of includes in the product,
no widget in quillo_core, no blind waiting in tests. Prints every finding and exits with 1 when there is one."""

import re
import subprocess
import sys
from pathlib import Path

INCLUDE = re.compile(r'^\s*#include\s+([<"])([^>"]+)[>"]', re.MULTILINE)
WAITING = re.compile(r'\bQTest::q(?:Wait|Sleep)\(|\bsleep_for\b|\busleep\(|\bQThread::m?u?sleep\(')
LADDER = ('platform', 'base', 'pen', 'library', 'download', 'sync')
# What a folder may include besides itself.
BELOW = {folder: set(LADDER[:step]) for step, folder in enumerate(LADDER)}
BELOW['bluetooth'] = {'platform', 'base', 'pen'}
BELOW['ui'] = {*LADDER, 'bluetooth'}
BELOW['app'] = {*BELOW['ui'], 'ui'}
for top in ('demo', 'bench', 'tests'):
    BELOW[top] = {*BELOW['app'], 'app'}
BELOW['tests'] |= {'demo', 'bench'} # which have tests as well
CORE_BLOCK = re.compile(r'target_sources\(quillo_core\s+PRIVATE\s+([^)]*)\)')


def sources():
    listing = subprocess.run(
        ['git', 'ls-files', '--cached', '--others', '--exclude-standard', '--', '*.h', '*.cpp'],
        check=True, capture_output=True, text=True).stdout.split()
    return {name: Path(name).read_text(encoding='utf-8') for name in listing if Path(name).exists()}


def component(name):
    """A header and its source file are one piece."""
    return name.rsplit('.', 1)[0]


def include_graph(texts):
    graph = {component(name): set() for name in texts}
    for name, text in texts.items():
        for bracket, target in INCLUDE.findall(text):
            if bracket == '"' and target in texts and component(target) != component(name):
                graph[component(name)].add(component(target))
    return graph


def ladder_findings(texts):
    for name, text in sorted(texts.items()):
        folder = name.split('/')[0]
        for bracket, target in INCLUDE.findall(text):
            below = target.split('/')[0]
            if bracket == '"' and target in texts and below not in BELOW[folder] | {folder}:
                yield f'{name}: {folder}/ includes {target}, which stands above it'


def find_circle(graph):
    done, path = set(), []

    def visit(node):
        if node in path:
            return path[path.index(node):] + [node]
        if node in done:
            return None
        path.append(node)
        for target in sorted(graph[node]):
            circle = visit(target)
            if circle:
                return circle
        path.pop()
        done.add(node)
        return None

    for node in sorted(graph):
        circle = visit(node)
        if circle:
            return circle
    return None


def core_components():
    for listing in Path('.').glob('*/CMakeLists.txt'):
        for block in CORE_BLOCK.findall(listing.read_text(encoding='utf-8')):
            for name in block.split():
                yield component(f'{listing.parent}/{name}')


def widget_headers():
    """The names of Qt's own; an exception where Qt's headers are not installed."""
    folder = subprocess.run(['qmake6', '-query', 'QT_INSTALL_HEADERS'],
                            check=True, capture_output=True, text=True).stdout.strip()
    names = {path.name for path in (Path(folder) / 'QtWidgets').iterdir()}
    if 'QWidget' not in names:
        raise FileNotFoundError(f'no widget headers in {folder}')
    return names


def widget_findings(texts, graph):
    widgets = widget_headers()
    reached, queue = set(), list(core_components())
    while queue:
        piece = queue.pop()
        if piece not in reached:
            reached.add(piece)
            queue.extend(graph.get(piece, ()))
    for name, text in sorted(texts.items()):
        if component(name) in reached:
            for _, target in INCLUDE.findall(text):
                if target.rsplit('/', 1)[-1] in widgets:
                    yield f'{name}: quillo_core reaches the widget header {target}'


def waiting_findings(texts):
    for name, text in sorted(texts.items()):
        if name.startswith('tests/'):
            for number, line in enumerate(text.splitlines(), 1):
                if WAITING.search(line):
                    yield f'{name}:{number}: waits for a fixed time instead of an event'


def main():
    texts = sources()
    graph = include_graph({name: text for name, text in texts.items()
                           if not name.startswith('tests/')})
    findings = list(ladder_findings(texts)) + list(widget_findings(texts, graph)) + list(waiting_findings(texts))
    circle = find_circle(graph)
    if circle:
        findings.append('circle of includes: ' + ' -> '.join(circle))
    print('\n'.join(findings), end='\n' if findings else '')
    return 1 if findings else 0


if __name__ == '__main__':
    sys.exit(main())
