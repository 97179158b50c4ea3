"""Runs the commands of docs/guide.md in a copy of samples and recipes, and compares what they print
with what the guide says. The guide's text comes from the reference converter: with --write it takes
the place of the tool, and what is printed is put into the guide.

Usage: runGuide.py SOURCE_DIRECTORY DIRECTORY_OF_THE_TOOL
       runGuide.py --write

A block marked "console" holds commands after "$ ", their further lines after "> ", and below each
what it prints."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"(?<=^```console\n).*?(?=^```$)", re.DOTALL | re.MULTILINE)


def commands_of(block):
    """Pairs of a command as the guide has it and what it prints."""
    commands = []
    for line in block.splitlines(keepends=True):
        if line.startswith("$ "):
            commands.append([line, ""])
        elif line.startswith("> "):
            commands[-1][0] += line
        else:
            commands[-1][1] += line
    return commands


class Shell:
    """Runs commands in a copy of samples and recipes."""

    def __init__(self, source, tool, scratch):
        for name in ("samples", "recipes"):
            shutil.copytree(
                source / name, scratch / name, ignore=shutil.ignore_patterns("*.csv")
            )
        self.scratch = scratch
        self.environment = dict(os.environ, LC_ALL="C.UTF-8", PATH=f"{tool}:{os.environ['PATH']}")

    def run(self, command):
        lines = re.sub("^[$>] ", "", command, flags=re.MULTILINE)
        return subprocess.run(
            ["sh", "-c", lines], cwd=self.scratch, env=self.environment, text=True,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
        )  # fmt: skip


def check(source, tool):
    count = failed = 0
    guide = (source / "docs/guide.md").read_text(encoding="utf-8")
    with tempfile.TemporaryDirectory() as scratch:
        shell = Shell(source, tool, pathlib.Path(scratch))
        for block in BLOCK.findall(guide):
            for command, expected in commands_of(block):
                count += 1
                run = shell.run(command)
                if run.returncode != 0 or run.stdout != expected:
                    failed += 1
                    print(f"{command}status {run.returncode}, prints:\n{run.stdout}", end="")
                    print(f"instead of (written by script/generate):\n{expected}")
    print(f"{count} commands, {failed} of them with another result than the guide says")
    return failed == 0 and count > 0


def write(source):
    path = source / "docs/guide.md"
    with tempfile.TemporaryDirectory() as scratch, tempfile.TemporaryDirectory() as programs:
        tool = pathlib.Path(programs, "convertquorvlogs")
        converter = source / "tests/referenceConverter.py"
        tool.write_text(f'#!/bin/sh\nexec "{sys.executable}" -B "{converter}" "$@"\n')
        tool.chmod(0o755)
        shell = Shell(source, programs, pathlib.Path(scratch))

        def with_outputs(match):
            text = ""
            for command, _ in commands_of(match.group()):
                run = shell.run(command)
                assert run.returncode == 0, (command, run.stdout)
                text += command + run.stdout
            return text

        path.write_text(BLOCK.sub(with_outputs, path.read_text(encoding="utf-8")), encoding="utf-8")


def main():
    if sys.argv[1:] == ["--write"]:
        write(pathlib.Path(__file__).resolve().parent.parent)
        return
    source, tool = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    sys.exit(not check(source, tool))


if __name__ == "__main__":
    main()
