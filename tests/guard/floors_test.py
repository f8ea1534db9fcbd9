#!/usr/bin/env python3
"""Checks that floors.py notices an include that leads up, a folder without a floor and a path without its folder.
   floors_test.py FLOORS_PY"""
import subprocess
import sys
import tempfile
from pathlib import Path

tool = sys.argv[1]


def status(files):
    with tempfile.TemporaryDirectory() as folder:
        source = Path(folder) / 'src'
        (Path(folder) / 'floors.txt').write_text('# from the ground up\nlow\nhigh\n')
        for name in ('low', 'high'):
            (source / name).mkdir(parents=True)
        for name, text in files.items():
            path = source / name
            path.parent.mkdir(exist_ok=True)
            path.write_text(text)
        run = subprocess.run([sys.executable, tool, Path(folder) / 'floors.txt', source], capture_output=True, text=True)
        return run.returncode, run.stdout


down = {'high/a.cc': '#include "low/b.h"\n#include "high/a.h"\n#include <vector>\n'}
assert status(down)[0] == 0, status(down)
for wrong, said in (
    ({'low/b.cc': '#include "high/a.h"\n'}, 'low/b.cc:1: includes high/a.h, which is above low'),
    ({'low/b.h': '#  include "high/a.h"\n'}, 'which is above low'),
    ({'other/c.cc': '#include "low/b.h"\n'}, 'the folder other is not in'),
    ({'low/b.cc': '#include "b.h"\n'}, 'b.h is not named by its folder'),
    ({}, 'ok: 0 includes'),
):
    returned, output = status(down | wrong if wrong else {})
    assert returned == 1 and said in output, (wrong, returned, output)
print('ok')
