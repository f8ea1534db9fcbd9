#!/usr/bin/env python3
"""tools/coverage with made-up counts and reasons; and that it can read tools/coverage.left.

usage: coverage_test.py SOURCE_DIR
"""
import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import sys

sys.dont_write_bytecode = True
SOURCE = pathlib.Path(sys.argv[1])
loader = importlib.machinery.SourceFileLoader('coverage_tool', str(SOURCE / 'tools' / 'coverage'))
tool = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
loader.exec_module(tool)
failures = 0


def expect(what, found, wanted):
    global failures
    if found == wanted:
        print(f'ok    {what}')
        return
    failures += 1
    print(f'FAIL  {what}:\n  wanted {wanted!r}\n  found  {found!r}')


def line(number, count, *branches, **more):
    return {'line_number': number, 'count': count, 'branches': [{'count': taken} for taken in branches], **more}


# main.cc: line 1 is a comment, lines 6 to 9 are its function.
counts = [{'file': 'src/rc/main.cc',
           'lines': [line(1, 0, **{'gcovr/noncode': True}), line(6, 3, 3, 0), line(8, 0), line(9, 3)]},
          {'file': 'src/wan/wan.cc', 'lines': [line(1, 1, 1, 1, 0)]}]
table = tool.figures(counts)
expect('a folder', table['rc'], [3, 2, 2, 1])
expect('another folder', table['wan'], [1, 1, 3, 2])
expect('a folder without counts', table['lan'], [0, 0, 0, 0])
expect('all', table['all'], [4, 3, 5, 3])
left = tool.lines_left(counts)
expect('the line that did not run', left, [('src/rc/main.cc', 8, 'return rc_main(argc, argv);')])
expect('the lines with a branch that was not taken', [(some.file, some.number) for some in tool.branches_left(counts)],
       [('src/rc/main.cc', 6), ('src/wan/wan.cc', 1)])

expect('percent of all', tool.percent(10, 10), 100.0)
expect('percent of nearly all', tool.percent(9999, 10000), 99.9)
expect('enough', tool.too_few({'all': [1000, 980, 0, 0]}), [])
expect('too few', tool.too_few({'all': [1000, 979, 0, 0]}), ['fewer than 98 % of the lines ran'])

REASONS = '''# what the file is
src/rc/main.cc
  Nobody calls it,
  whatever happens.
  | return rc_main(argc, argv);
  Another reason.
  | }
'''
groups = tool.read_left(REASONS)
expect('reasons', groups, [('src/rc/main.cc', 'Nobody calls it, whatever happens.', ['return rc_main(argc, argv);']),
                           ('src/rc/main.cc', 'Another reason.', ['}'])])
expect('a reason whose line runs', tool.compare_left(groups, left),
       ['has a reason, but runs or is gone: src/rc/main.cc: }'])
expect('the same text twice, one reason', tool.compare_left(groups[:1], left + left),
       ['no reason: src/rc/main.cc: return rc_main(argc, argv);'])
expect('no reason', tool.compare_left([], left), ['no reason: src/rc/main.cc: return rc_main(argc, argv);'])
expect('all as it should be', tool.compare_left(groups[:1], left), [])
expect('a reason without a line', tool.compare_left(tool.read_left('src/rc/main.cc\n  Why?\n'), []),
       ['a reason without a line: src/rc/main.cc: Why?'])
for text in ['  | a line without a file', 'src/a.cc\n  | a line without a reason', 'something else']:
    with contextlib.redirect_stderr(io.StringIO()):
        try:
            found = tool.read_left(text)
        except SystemExit as end:
            found = end.code
    expect(f'broken reasons: {text!r}', found, 2)

page = tool.section(table, groups, 12)
for row in ['| `src/rc` | 3 | 2 | 66.6 | 2 | 1 | 50.0 |', '| all | 4 | 3 | 75.0 | 5 | 3 | 60.0 |',
            '- `src/rc/main.cc`: Another reason.', '      }']:
    expect(f'the page has: {row}', row in page.split('\n'), True)
expect('the page of all', 'Every line was executed.' in tool.section(table, [], None), True)

for file, _, texts in tool.read_left(tool.LEFT.read_text()):
    there = [row.strip() for row in (SOURCE / file).read_text().split('\n')]
    expect(f'the lines with reasons are there: {file}', [text for text in texts if text not in there], [])
sys.exit(failures != 0)
