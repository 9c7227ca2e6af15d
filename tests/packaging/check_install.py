#!/usr/bin/env python3
"""Installs a build into staging folders and uses it there: layout, versions, pages, modules found by the installed
registry, the examples.   check_install.py BUILD VERSION C_COMPILER [FLAG...]"""
import gzip
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

BUILD, VERSION, COMPILER = sys.argv[1], sys.argv[2], sys.argv[3:]
PROGRAMS = ("Vorela", "vorela-batch", "dravik")
FILES = """bin/Vorela bin/dravik bin/vorela-batch include/vorela/DKBase.h lib/vorela/DKBase.so lib/vorela/Smooth32.so
share/applications/vorela.desktop share/bash-completion/completions/Vorela
share/bash-completion/completions/dravik share/bash-completion/completions/vorela-batch share/doc/vorela/NOTICES.md
share/doc/vorela/changelog.gz share/doc/vorela/copyright share/doc/vorela/examples/well.ini
share/icons/hicolor/scalable/apps/vorela.svg share/man/man1/Vorela.1.gz share/man/man1/dravik.1.gz
share/man/man1/vorela-batch.1.gz share/metainfo/vorela.metainfo.xml share/mime/packages/vorela.xml
share/vorela/Vorela.hlp share/vorela/demo.ini share/vorela/vorela-results.schema.json share/vorela/vorela-plan.schema.json
share/doc/vorela/examples/live-recording.c share/doc/vorela/examples/profile.py
share/doc/vorela/examples/compare-wells.py share/doc/vorela/examples/one-well.sh
share/doc/vorela/examples/many-wells.sh share/doc/vorela/examples/job-array.sh""".split()


def run(*command, **options):
    """The standard output of a command that succeeds."""
    done = subprocess.run(command, capture_output=True, text=True, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command}: status {done.returncode}\n{done.stdout}\n{done.stderr}")
    return done.stdout


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()}


class Installation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="vorela-test-")
        cls.work = pathlib.Path(cls.folder.name)
        cls.prefix = cls.work / "a place"
        cls.bin = cls.prefix / "bin"
        run("cmake", "--install", BUILD, "--prefix", str(cls.prefix))
        environment = {k: v for k, v in os.environ.items() if k not in ("VORELA_REGISTRY", "DRAVIK_DATABASE")}
        cls.user = {**environment, "XDG_CONFIG_HOME": str(cls.work / "user"), "PATH": f"{cls.bin}:/usr/bin:/bin"}

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def as_user(self, *command):
        return run(*map(str, command), env=self.user, cwd=self.work)

    def test_everything_is_there_and_the_registry_names_the_final_folder(self):
        self.assertLessEqual(set(FILES) | {"etc/vorela/vorela.reg"}, files_below(self.prefix))
        staging = self.work / "staging"
        run("cmake", "--install", BUILD, "--prefix", "/usr", env={**os.environ, "DESTDIR": str(staging)})
        staged = files_below(staging)
        self.assertLessEqual({f"usr/{name}" for name in FILES} | {"etc/vorela/vorela.reg"}, staged)
        self.assertFalse([name for name in staged if not name.startswith(("usr/", "etc/vorela/"))])
        self.assertIn('"BinDir"="/usr/lib/vorela/"', (staging / "etc/vorela/vorela.reg").read_text())

    def test_one_version_is_shown_everywhere(self):
        for program in PROGRAMS:
            self.assertEqual(self.as_user(self.bin / program, "--version"), f"{program} {VERSION}\n")
        self.assertIn(f'version="{VERSION}"', (self.prefix / "share/metainfo/vorela.metainfo.xml").read_text())
        log = gzip.open(self.prefix / "share/doc/vorela/changelog.gz", "rt").read()
        self.assertTrue(log.startswith(f"vorela ({VERSION}) "))

    def test_pages_and_completion_know_every_option(self):
        for program in PROGRAMS:
            page = gzip.open(self.prefix / f"share/man/man1/{program}.1.gz", "rt").read().replace("\\-", "-")
            for option in re.findall(r"^  (?:-\w,)?(--[\w-]+)", self.as_user(program, "--help"), re.M):
                self.assertRegex(page, rf"\n\.B (-\w,)?{option}\b", program)
        for typed, wanted in (("dravik ex", "export"), ("dravik import --dr", "--dry-run"), ("vorela-batch --js", "--json")):
            words = typed.split()
            script = (f'. "{self.prefix}/share/bash-completion/completions/{words[0]}"; COMP_WORDS=({typed}); '
                      f"COMP_CWORD={len(words) - 1}; _{words[0].replace('-', '_')}; echo ${{COMPREPLY[*]}}")
            self.assertEqual(self.as_user("bash", "-c", script), wanted + "\n")

    def test_simulates_and_analyses_with_the_modules_of_the_installation(self):
        self.as_user("dravik", "simulate", "well.dkb", "--levels", "2", "--cycles", "6", "--step", "100")
        analyse = ("vorela-batch", "well.dkb", "--settings", self.prefix / "share/vorela/demo.ini", "--json", "-")
        results = json.loads(self.as_user(*analyse))
        self.assertAlmostEqual(results["exact"]["intervals"][0]["joint"]["permeability"], 100, delta=1)
        module = self.prefix / "lib/vorela/Smooth32.so"
        module.rename(module.with_suffix(".away"))
        with self.assertRaisesRegex(AssertionError, re.escape(str(module))):
            self.as_user(*analyse)
        module.with_suffix(".away").rename(module)
        # The settings are the user's, also for who could write beside the programs.
        with self.assertRaisesRegex(AssertionError, "read or written by this run already"):
            self.as_user("vorela-batch", "well.dkb", "--json", self.work / "user/Vorela/Vorela.ini")
        self.assertFalse((self.bin / "Vorela.ini").exists())

    def test_the_recorder_in_c_compiles_and_its_recording_is_analysed(self):
        program = self.work / "live-recording"
        run(*COMPILER, "-Wall", "-Wextra", "-Werror", "-I", str(self.prefix / "include"),
            str(self.prefix / "share/doc/vorela/examples/live-recording.c"), str(self.prefix / "lib/vorela/DKBase.so"),
            "-lm", "-o", str(program))
        for level, depth in (("LOW", 8120), ("HIGH", 8020)):
            self.as_user(program, "c.dkb", level, depth, 480, 0)
        self.as_user("dravik", "check", "c.dkb")
        results = json.loads(self.as_user("vorela-batch", "c.dkb", "--settings", self.prefix / "share/vorela/demo.ini",
                                          "--set", "Parameters.Period=60", "--json", "-"))
        for level, amplitude in zip(results["levels"], (0.47, 0.495)):
            self.assertFalse(level["recording"])
            self.assertAlmostEqual(level["hpi"], amplitude / 20, places=5)
            self.assertAlmostEqual(level["phaseLag"], 30, places=3)
        live = subprocess.Popen([program, "d.dkb", "LOW", "8120", "60"], cwd=self.work, env=self.user)
        try:
            while not (self.work / "d.dkb").exists() or "LOW" not in self.as_user("dravik", "list", "d.dkb"):
                pass
            self.assertIn("recording", self.as_user("dravik", "list", "d.dkb"))
            with self.assertRaisesRegex(AssertionError, f"recorded by process {live.pid}"):
                self.as_user("dravik", "record", "d.dkb", "LOW", "--simulate")
        finally:
            live.kill()
            live.wait()


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
