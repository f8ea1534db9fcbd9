#!/usr/bin/env python3
"""tools/summary counts what CTest reports, and fails if a test failed, is missing, or none ran; ./test names a wrong argument.
   summary_test.py SUMMARY CTEST"""
import pathlib
import subprocess
import sys
import tempfile

summary, ctest = sys.argv[1:]


def run(tests, steps=()):
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        for name, text in steps:
            (folder / name).write_text(text)
        lines = [f'add_test({name} {command})' for name, command in tests.items()]
        lines += [f'set_tests_properties({name} PROPERTIES SKIP_RETURN_CODE 77)' for name in tests]
        (folder / 'CTestTestfile.cmake').write_text('\n'.join(lines) + '\n')
        if tests:
            subprocess.run([ctest, '--test-dir', folder, '--output-junit', folder / 'release.xml'], capture_output=True)
        done = subprocess.run([sys.executable, summary, folder, '75'], capture_output=True, text=True)
        return done.returncode, done.stdout.strip()


SHELL = '"/bin/sh" "-c"'
GOOD, BAD, SKIPPED = f'{SHELL} "exit 0"', f'{SHELL} "exit 1"', f'{SHELL} "exit 77"'
for wanted, tests, steps in (
    ((0, '1 passed, 0 failed, 0 skipped, in 1 min 15 s'), {'a': GOOD}, ()),
    ((0, '2 passed, 0 failed, 1 skipped (release: b), in 1 min 15 s'), {'a': GOOD, 'b': SKIPPED},
     [('passed.steps', 'style\n')]),
    ((0, '1 passed, 0 failed, 1 skipped (lab.mips), in 1 min 15 s'), {'a': GOOD}, [('skipped.steps', 'lab.mips\n')]),
    ((1, '1 passed, 1 failed (release: b), 0 skipped, in 1 min 15 s'), {'a': GOOD, 'b': BAD}, ()),
    ((1, '1 passed, 1 failed (release: b), 0 skipped, in 1 min 15 s'), {'a': GOOD, 'b': '"/no/such/program"'}, ()),
    ((1, '1 passed, 1 failed (build fuzz), 0 skipped, in 1 min 15 s'), {'a': GOOD}, [('failed.steps', 'build fuzz\n')]),
    ((1, '0 passed, 0 failed, 0 skipped, in 1 min 15 s'), {}, ()),
):
    got = run(tests, steps)
    assert got == wanted, (tests, steps, got, wanted)

script = pathlib.Path(summary).resolve().parent.parent / 'test'
for words, wrong in ((['nonsense'], 'nonsense'), (['all', 'more'], 'more'), (['--help', 'more'], 'more'), ([''], '')):
    done = subprocess.run([script, *words], capture_output=True, text=True)
    got = done.returncode, done.stdout, done.stderr
    assert got == (2, '', f"test: unknown argument '{wrong}'; see ./test --help\n"), (words, got)
done = subprocess.run([script, '--help'], capture_output=True, text=True)
assert done.returncode == 0 and './test all' in done.stdout, done
print('ok')
