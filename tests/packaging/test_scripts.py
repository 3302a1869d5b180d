"""How the scripts take their arguments. Nothing of their work is done here."""

import os
import pathlib
import subprocess

import pytest

TREE = pathlib.Path(__file__).resolve().parent.parent.parent
SCRIPTS = sorted(path for path in (TREE / "scripts").iterdir() if os.access(path, os.X_OK))


def run(script, *arguments):
    return subprocess.run([script, *arguments], capture_output=True, text=True, check=False,
                          cwd="/", timeout=60)


def test_there_are_scripts():
    assert {"demo", "test"} <= {script.name for script in SCRIPTS}


@pytest.mark.parametrize("script", SCRIPTS, ids=lambda path: path.name)
def test_an_unknown_option_is_rejected_with_the_usage(script):
    result = run(script, "--no-such-option", "word")
    assert (result.returncode, result.stdout) == (2, "")
    assert "--no-such-option" in result.stderr
    assert f"scripts/{script.name}" in result.stderr or f"usage: {script.name}" in result.stderr


@pytest.mark.parametrize("script", SCRIPTS, ids=lambda path: path.name)
def test_help_goes_to_standard_output(script):
    result = run(script, "--help")
    assert (result.returncode, result.stderr) == (0, "")
    assert script.name in result.stdout


@pytest.mark.parametrize("script, option", [
    ("demo", "--language"), ("build-packages", "--version"), ("build-packages", "--output"),
    ("build-rpm", "--output"), ("bench", "--only"), ("bench", "--seconds"), ("fuzz", "--seconds")])
def test_an_option_without_its_value_is_rejected(script, option):
    result = run(TREE / "scripts" / script, option)
    assert (result.returncode, result.stdout) == (2, "")
    assert f"wrong argument: {option}" in result.stderr
