#!/usr/bin/python3
"""Seed corpora for the fuzz targets, taken from the tests' tables.

Every string literal of tests/*.cpp is decoded, and each target gets the
literals of the test files about its subject, laid out the way the target
reads its input (see the comment at the top of each fuzz/*_fuzz.cpp).  The
stream target's seeds are valid streams built here.  Usage:

    scripts/fuzz_seeds.py OUT_DIR      writes OUT_DIR/<target>/<hash>
"""
import hashlib
import pathlib
import re
import struct
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LITERAL = re.compile(r'(?<![A-Za-z0-9_])(?:u8|u|L|U)?"((?:[^"\\\n]|\\.)*)"')
ESCAPES = {'n': '\n', 't': '\t', 'r': '\r', '\\': '\\', '"': '"', "'": "'", '0': '\0', 'a': '\a'}


def decode(body):
    """The text of a C++ literal's body, its escapes resolved."""
    out, i = [], 0
    raw = bytearray()

    def flush():
        if raw:
            out.append(raw.decode('utf-8', 'replace'))
            raw.clear()

    while i < len(body):
        c = body[i]
        if c != '\\':
            flush()
            out.append(c)
            i += 1
            continue
        kind = body[i + 1]
        if kind == 'x':
            digits = re.match(r'[0-9a-fA-F]+', body[i + 2:]).group(0)
            raw.append(int(digits, 16) & 0xFF)
            i += 2 + len(digits)
        elif kind in 'uU':
            width = 4 if kind == 'u' else 8
            flush()
            out.append(chr(int(body[i + 2:i + 2 + width], 16)))
            i += 2 + width
        else:
            flush()
            out.append(ESCAPES.get(kind, kind))
            i += 2
    flush()
    return ''.join(out)


def literals(*patterns):
    """The decoded literals of the test files matching the patterns, in order."""
    found = []
    for pattern in patterns:
        for path in sorted(ROOT.glob('tests/' + pattern)):
            text = path.read_text(encoding='utf-8')
            text = re.sub(r'^\s*#\s*include.*$', '', text, flags=re.M)
            found += [decode(m.group(1)) for m in LITERAL.finditer(text)]
    return found


def utf8(text):
    return text.encode('utf-8', 'surrogatepass')


FORMULA_TESTS = ('calc*_test.cpp', 'builtins_*_test.cpp', 'evaluate_test.cpp', 'node_test.cpp')
ANSWERS = [b'7', b"'t'", b'$+1', b'\x011', b'b+1', b'$', b'', b'abs($)']


def formula_seeds():
    return [utf8(t) for t in literals(*FORMULA_TESTS)]


def answers_seeds():
    seeds = []
    for n, text in enumerate(literals('calc*_test.cpp', 'builtins_formula_test.cpp')):
        answers = [ANSWERS[(n + k) % len(ANSWERS)] for k in range(1 + n % 3)]
        seeds.append(b'\0'.join([utf8(text)] + answers))
    return seeds


def toolbox_seeds():
    texts = literals('numbers_test.cpp', 'url_test.cpp', 'display_format_test.cpp', 'rmb_test.cpp',
                     'formula_text_test.cpp', 'dates_test.cpp')
    return [bytes([len(a)]) + utf8(a) + utf8(b) for a, b in zip(texts, texts[1:])]


def cell_names_seeds():
    return [utf8(t) for t in literals('cell_names_test.cpp', 'cells_test.cpp')]


def utf_seeds():
    texts = literals('buffer_test.cpp', 'string_test.cpp', 'vek_test.cpp')
    return [utf8(t) for t in texts] + [t.encode('utf-16-le', 'surrogatepass') for t in texts]


def dates_seeds():
    texts = literals('dates_test.cpp', 'datetime_test.cpp', 'builtins_dates_test.cpp')
    formats = [t for t in texts if '%' in t] or ['%Y-%m-%d']
    seeds = []
    for n, (date, pattern) in enumerate(zip(texts, texts[1:])):
        fmt = formats[n % len(formats)]
        seeds.append(bytes([n & 1]) + b'\0'.join(utf8(t) for t in (fmt, date, pattern)))
    return seeds


def funcs_seeds():
    names = [t for t in literals('func_manager_test.cpp') if t and len(t) < 40]
    formulas = literals('builtins_formula_test.cpp')
    seeds = []
    for n in range(0, len(names), 4):
        group = names[n:n + 4]
        header = bytes([(len(group) << 1) | (n & 1) | ((n & 2) << 4)])
        items = b''.join(bytes([(n * 37 + k * 11) & 0xFF]) + utf8(name) + b'\0cat\0group\0'
                         for k, name in enumerate(group))
        queries = b''.join(utf8(name) + b'\0\x02' + b'x\0y\0' for name in reversed(group))
        formula = utf8(group[0] + '(1,2)+' + (formulas[n % len(formulas)] if formulas else '1'))
        seeds.append(header + items + queries + formula)
    return seeds


def pool_stream(strings, tags):
    block = b''.join(s.encode('utf-16-le') + b'\0\0' for s in strings)
    offsets, at = [], 0
    for s in strings:
        offsets.append(at)
        at += 2 * (len(s) + 1)
    head = struct.pack('<II', len(strings), len(tags))
    if not strings:
        return head
    return (head + struct.pack('<I', len(block)) + block + struct.pack(f'<{len(offsets)}I', *offsets)
            + struct.pack(f'<{len(tags)}I', *tags))


def streams_seeds():
    words = literals('string_pool_test.cpp')
    seeds = [b'\0' + pool_stream([], []), b'\0' + pool_stream(['abs', 'sum'], [7]),
             b'\0' + pool_stream(words[:12], list(range(5))), b'\0' + pool_stream(['', 'x', ''], [1, 2, 3])]
    for selector, width in ((1, 'B'), (2, 'H'), (3, 'I')):
        for items in ([], [0], [1, 2, 3], [0xFFFFFFFF] * 5):
            seeds.append(bytes([selector]) + struct.pack('<' + width, len(items))
                         + struct.pack(f'<{len(items)}I', *items))
    for word in (0, 0xFFFFFFFF, (3 << 20) | 7, 0xFFFFE):
        seeds.append(b'\x04' + struct.pack('<I', word))
        seeds.append(b'\x05' + struct.pack('<II', word, word ^ 0x00300005))
    return seeds


TARGETS = {
    'formula': formula_seeds, 'answers': answers_seeds, 'toolbox': toolbox_seeds,
    'streams': streams_seeds, 'cell_names': cell_names_seeds, 'utf': utf_seeds,
    'dates': dates_seeds, 'funcs': funcs_seeds,
}


def main():
    # One argument, the output folder; an option (--help) is never taken for one.
    if len(sys.argv) != 2 or sys.argv[1].startswith('-'):
        print(__doc__.strip())
        sys.exit(0 if sys.argv[1:] in (['-h'], ['--help']) else 2)
    out = pathlib.Path(sys.argv[1])
    for target, make in TARGETS.items():
        folder = out / target
        folder.mkdir(parents=True, exist_ok=True)
        for seed in make():
            (folder / hashlib.sha1(seed).hexdigest()).write_bytes(seed)


if __name__ == '__main__':
    main()
