#!/usr/bin/env python3
"""Fails if an include in src/ leads to a higher layer: a file may include its own folder and lower ones.
   floors.py FLOORS SOURCE_FOLDER
The router's side (all that rc, nvram and libnvram.so are made of) is below the workstation's, so it cannot include any of
that either."""
import re
import sys
from pathlib import Path

floors_file, source = Path(sys.argv[1]), Path(sys.argv[2])
floors = [line.strip() for line in floors_file.read_text().splitlines() if line.strip() and not line.startswith('#')]
height = {folder: number for number, folder in enumerate(floors)}
wrong = []
includes = 0
for path in sorted(source.rglob('*')):
    if path.suffix not in ('.cc', '.h', '.inc', '.in') or not path.is_file():
        continue
    folder = path.parent.relative_to(source).as_posix()
    if folder not in height:
        wrong.append(f'{path}: the folder {folder} is not in {floors_file}')
        continue
    for number, line in enumerate(path.read_text().splitlines(), 1):
        match = re.match(r'\s*#\s*include\s+"([^"]+)"', line)
        if not match:
            continue
        includes += 1
        included = match.group(1)
        other = included.rpartition('/')[0]
        if other not in height:
            wrong.append(f'{path}:{number}: {included} is not named by its folder in src/')
        elif height[other] > height[folder]:
            wrong.append(f'{path}:{number}: includes {included}, which is above {folder}')
for folder in floors:
    if not (source / folder).is_dir():
        wrong.append(f'{floors_file}: there is no folder {folder}')
print('\n'.join(wrong) if wrong else f'ok: {includes} includes, none leads up')
sys.exit(1 if wrong or includes == 0 else 0)
