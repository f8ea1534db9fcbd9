"""Limits of the Python tests' waits, in seconds, which only a hang reaches."""
import pathlib
import re

# The lab's own.
HANG_LIMIT = int(re.search(r"^hang_limit=(\d+)$", (pathlib.Path(__file__).parent / "lib/wait.sh").read_text(), re.M)[1])
# For programs that wait and report a hang themselves.
PROGRAM_LIMIT = 4 * HANG_LIMIT
