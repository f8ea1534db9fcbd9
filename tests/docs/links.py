"""Fails if a page links to a missing file or shows a missing picture.

  links.py SOURCE_DIR
"""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
count, missing = 0, []
for page in [*root.glob("*.md"), *root.glob("docs/*.md"), *root.glob("docs/figures.d/*.md")]:
    text = page.read_text(encoding="utf-8")
    targets = re.findall(r"\]\(([^)\s]+)\)", text) + re.findall(r'(?:src|srcset)="([^"]+)"', text)
    for target in targets:
        if re.match(r"[a-z]+:|#", target):
            continue
        count += 1
        if not (page.parent / target.partition("#")[0]).exists():
            missing.append(f"{page.relative_to(root)}: no file {target}")
print("\n".join(missing) or f"ok: {count} links")
sys.exit(1 if missing or count < 10 else 0)
