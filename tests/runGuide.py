"""Runs the commands of docs/guide.md in a copy of samples and recipes, and compares what they print
with what the guide says.

Usage: runGuide.py SOURCE_DIRECTORY DIRECTORY_OF_THE_TOOL

A block marked "console" holds commands after "$ ", their further lines after "> ", and below each
what it prints."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

source, tool = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
guide = (source / "docs/guide.md").read_text(encoding="utf-8")

commands = []
for block in re.findall(r"^```console\n(.*?)^```$", guide, re.DOTALL | re.MULTILINE):
    for line in block.splitlines(keepends=True):
        if line.startswith("$ "):
            commands.append([line[2:], ""])
        elif line.startswith("> "):
            commands[-1][0] += line[2:]
        else:
            commands[-1][1] += line

failed = 0
with tempfile.TemporaryDirectory() as scratch:
    for name in ("samples", "recipes"):
        shutil.copytree(source / name, pathlib.Path(scratch, name),
                        ignore=shutil.ignore_patterns("*.csv"))
    environment = dict(os.environ, LC_ALL="C.UTF-8", PATH=f"{tool}:{os.environ['PATH']}")
    for command, expected in commands:
        run = subprocess.run(["sh", "-c", command], cwd=scratch, env=environment, text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        if run.returncode != 0 or run.stdout != expected:
            failed += 1
            print(f"$ {command}status {run.returncode}, prints:\n{run.stdout}instead of:\n{expected}")

print(f"{len(commands)} commands, {failed} of them with another result than the guide says")
sys.exit(failed > 0 or not commands)
