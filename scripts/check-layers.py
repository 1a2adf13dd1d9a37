#!/usr/bin/env python3
"""Checks the layer order of the source tree.

The order is the list ZENTOR_LAYERS of the top-level CMakeLists.txt, lowest
first. Every C++ file belongs to the layer of the longest listed folder that
holds it. A file may include only headers of its own layer or of layers before
it, and a library or executable defined in a folder's CMakeLists.txt may link
only targets of its own layer or of layers before it. The layers of one
top-level folder form one unbroken stretch of the list, so that the top-level
folders read from the ground up are the layer stack; and every listed layer is
a folder of the tree.

Usage: check-layers.py [SOURCE_ROOT]
Prints one line per breach, "file:line: what", and exits 1 when there is any.
"""
import os
import re
import sys

SOURCE_EXTENSIONS = ('.h', '.hpp', '.hh', '.cpp', '.cc', '.cxx', '.c', '.inc')
# Files that the build generates next to a source; they belong to the layer of
# the file that includes them.
GENERATED = re.compile(r'^(moc_.*\.cpp|.*\.moc|ui_.*\.h|qrc_.*\.cpp|.*_autogen/.*)$')
SKIPPED_DIRS = {'.git', 'build'}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def read_layers(root):
    """The folders of ZENTOR_LAYERS, in order."""
    path = os.path.join(root, 'CMakeLists.txt')
    with open(path, encoding='utf-8') as f:
        text = f.read()
    text = re.sub(r'#[^\n]*', '', text)
    m = re.search(r'set\(\s*ZENTOR_LAYERS\b(.*?)\)', text, re.S)
    if not m:
        raise SystemExit(f'{path}: no set(ZENTOR_LAYERS ...) list')
    layers = m.group(1).split()
    if len(set(layers)) != len(layers):
        raise SystemExit(f'{path}: a folder is listed twice in ZENTOR_LAYERS')
    return layers


def layer_of(relpath, layers):
    """Index of the longest listed folder holding relpath, or None."""
    best, best_len = None, -1
    for i, folder in enumerate(layers):
        if (relpath == folder or relpath.startswith(folder + '/')) and len(folder) > best_len:
            best, best_len = i, len(folder)
    return best


def source_files(root):
    for dirpath, dirnames, filenames in os.walk(root):
        rel_dir = os.path.relpath(dirpath, root)
        dirnames[:] = sorted(d for d in dirnames
                             if d not in SKIPPED_DIRS and not d.startswith('build')
                             and not (rel_dir == '.' and d.startswith('.')))
        for name in sorted(filenames):
            if name.endswith(SOURCE_EXTENSIONS):
                yield os.path.normpath(os.path.join(rel_dir, name)).replace(os.sep, '/')


_names = {}


def files_named(root):
    """Project files by base name (cached per root)."""
    if root not in _names:
        index = {}
        for rel in source_files(root):
            index.setdefault(os.path.basename(rel), []).append(rel)
        _names[root] = index
    return _names[root]


def resolve_include(root, includer, form, target):
    """The project-relative path an include names, 'system' for a header from
    outside the project, 'generated' for a build product, or None when it
    cannot be placed."""
    candidates = []
    if form == '"':
        candidates.append(os.path.join(os.path.dirname(includer), target))
    candidates.append(target)
    for c in candidates:
        rel = os.path.normpath(c).replace(os.sep, '/')
        if rel.startswith('../'):
            continue  # leaves the project: not ours to place
        if os.path.isfile(os.path.join(root, rel)):
            return rel
    if GENERATED.match(target) or GENERATED.match(os.path.basename(target)):
        return 'generated'
    if form == '"' and '/' not in target:
        # A bare name found through an include directory: place it when the
        # project holds exactly one file of that name.
        found = files_named(root).get(target, [])
        if len(found) == 1:
            return found[0]
    top = target.split('/')[0]
    names_project_folder = '/' in target and os.path.isdir(os.path.join(root, top)) and top not in ('.', '..')
    if form == '<' and not names_project_folder and not target.startswith('..'):
        return 'system'
    return None


def check_includes(root, layers):
    breaches = []
    for rel in source_files(root):
        own = layer_of(rel, layers)
        if own is None:
            breaches.append(f'{rel}:1: this file is in no folder of the layer order')
            continue
        with open(os.path.join(root, rel), encoding='utf-8', errors='replace') as f:
            for lineno, line in enumerate(f, 1):
                m = INCLUDE.match(line)
                if not m:
                    continue
                form, target = m.group(1), m.group(2).strip()
                placed = resolve_include(root, rel, form, target)
                if placed in ('system', 'generated'):
                    continue
                if placed is None:
                    breaches.append(f'{rel}:{lineno}: cannot place the include {form}{target} in any layer')
                    continue
                theirs = layer_of(placed, layers)
                if theirs is None:
                    breaches.append(f'{rel}:{lineno}: includes {placed}, which is in no folder of the layer order')
                elif theirs > own:
                    breaches.append(f'{rel}:{lineno}: includes {placed} of layer {layers[theirs]}, '
                                    f'which comes after {layers[own]}')
    return breaches


TARGET_DEF = re.compile(r'\b(add_library|add_executable)\(\s*([A-Za-z0-9_.-]+)')
TEST_DEF = re.compile(r'\bzentor_add_test\(\s*NAME\s+([A-Za-z0-9_.-]+)(.*?)\)', re.S)
LINK = re.compile(r'\btarget_link_libraries\(\s*([A-Za-z0-9_.-]+)(.*?)\)', re.S)
FUZZ_DEF = re.compile(r'\bzentor_add_fuzzer\(\s*([A-Za-z0-9_.-]+)\s+\S+(.*?)\)', re.S)


def cmake_files(root):
    for dirpath, dirnames, filenames in os.walk(root):
        rel_dir = os.path.relpath(dirpath, root)
        dirnames[:] = sorted(d for d in dirnames
                             if d not in SKIPPED_DIRS and not d.startswith('build')
                             and not (rel_dir == '.' and d.startswith('.')))
        if 'CMakeLists.txt' in filenames and rel_dir != '.':
            yield os.path.normpath(os.path.join(rel_dir, 'CMakeLists.txt')).replace(os.sep, '/')


def line_of(text, pos):
    return text.count('\n', 0, pos) + 1


def check_links(root, layers):
    defined = {}   # target -> layer index
    links = []     # (file, line, target, [libraries])
    for rel in cmake_files(root):
        own = layer_of(rel, layers)
        with open(os.path.join(root, rel), encoding='utf-8') as f:
            text = re.sub(r'#[^\n]*', lambda m: ' ' * len(m.group(0)), f.read())
        if own is None:
            continue
        for m in TARGET_DEF.finditer(text):
            defined.setdefault(m.group(2), own)
        for m in TEST_DEF.finditer(text):
            defined.setdefault(m.group(1), own)
            libs = re.search(r'\bLIBS\b(.*)', m.group(2), re.S)
            if libs:
                links.append((rel, line_of(text, m.start()), m.group(1), libs.group(1).split()))
        for m in FUZZ_DEF.finditer(text):
            defined.setdefault(m.group(1), own)
            links.append((rel, line_of(text, m.start()), m.group(1), m.group(2).split()))
        for m in LINK.finditer(text):
            links.append((rel, line_of(text, m.start()), m.group(1), m.group(2).split()))
    breaches = []
    for rel, lineno, target, libs in links:
        if target.startswith('$') or target not in defined:
            continue
        own = defined[target]
        for lib in libs:
            if lib in ('PUBLIC', 'PRIVATE', 'INTERFACE') or lib not in defined:
                continue  # a keyword or a target from outside the project
            if defined[lib] > own:
                breaches.append(f'{rel}:{lineno}: {target} ({layers[own]}) links {lib} '
                                f'of layer {layers[defined[lib]]}, which comes after it')
    return breaches


def check_stretches(layers):
    """Each top-level folder's layers are neighbours in the order."""
    breaches = []
    seen = {}   # top-level folder -> index of its last layer so far
    for i, layer in enumerate(layers):
        top = layer.split('/')[0]
        if top in seen and seen[top] != i - 1:
            between = ', '.join(layers[seen[top] + 1:i])
            breaches.append(f'CMakeLists.txt:1: the layers of the top-level folder {top}/ are not one stretch '
                            f'of ZENTOR_LAYERS: {between} come between {layers[seen[top]]} and {layer}')
        seen[top] = i
    return breaches


def check_folders(root, layers):
    """Every listed layer is a folder of the tree."""
    return [f'CMakeLists.txt:1: ZENTOR_LAYERS lists {layer}, which is no folder of the tree'
            for layer in layers if not os.path.isdir(os.path.join(root, layer))]


def main(argv):
    root = os.path.abspath(argv[1] if len(argv) > 1 else
                           os.path.join(os.path.dirname(os.path.abspath(__file__)), '..'))
    layers = read_layers(root)
    breaches = (check_stretches(layers) + check_folders(root, layers)
                 + check_includes(root, layers) + check_links(root, layers))
    for b in breaches:
        print(b)
    if breaches:
        print(f'{len(breaches)} breach(es) of the layer order '
              f'(CMakeLists.txt, ZENTOR_LAYERS: {" < ".join(layers)})')
        return 1
    print(f'layer order holds: {len(layers)} folders, '
          f'{sum(1 for _ in source_files(root))} source files')
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv))
