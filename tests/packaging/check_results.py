#!/usr/bin/env python3
"""What scripts of users read: the JSON document against its schema by an independent validator, the table of many wells,
the examples.   check_results.py BIN SOURCE"""
import copy
import csv
import gzip
import json
import os
import pathlib
import re
import sqlite3
import subprocess
import sys
import tempfile
import unittest

import jsonschema

BIN, SOURCE = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
SCRIPTS = SOURCE / "docs/examples/scripts"
SETTINGS = SOURCE / "packaging/demo.ini"


def validator_of(name):
    schema = json.loads((SOURCE / "docs/schema" / f"vorela-{name}.schema.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    return jsonschema.Draft202012Validator(schema)


class Results(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="vorela-test-")
        cls.work = pathlib.Path(cls.folder.name)
        cls.validator = validator_of("results")
        cls.run_in("dravik", "simulate", "well.dkb", "--levels", "3", "--cycles", "6", "--step", "100")
        cls.run_in("vorela-batch", "well.dkb", "--settings", SETTINGS, "--json", "well.json", "--table", "well.csv")
        cls.results = json.loads((cls.work / "well.json").read_text())

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    @classmethod
    def run_in(cls, *command, status=0):
        environment = {**os.environ, "PATH": f"{BIN}:/usr/bin:/bin", "XDG_CONFIG_HOME": str(cls.work)}
        done = subprocess.run(list(map(str, command)), capture_output=True, text=True, cwd=cls.work, env=environment)
        if done.returncode != status:
            raise AssertionError(f"{command}: status {done.returncode}\n{done.stdout}\n{done.stderr}")
        return done.stdout + done.stderr

    def test_documents_of_every_kind_are_as_the_schema_says(self):
        self.validator.validate(self.results)
        for arguments in (["LEVEL1"],  # no interval
                          ["--cycle", "window", "--set", "Parameters.0Height=1", "--set", "Exact.CompressibilityError=10"],
                          ["--set", "Exact.Harmonics=1", "--pvlpos"]):
            self.run_in("vorela-batch", "well.dkb", *arguments, "--settings", SETTINGS, "--json", "other.json")
            self.validator.validate(json.loads((self.work / "other.json").read_text()))
        # What cannot be computed is null: an analysis without parameters, of levels that are too short.
        self.run_in("dravik", "simulate", "short.dkb", "--levels", "2", "--cycles", "1", "--step", "100")
        self.run_in("vorela-batch", "short.dkb", "--settings", SETTINGS, "--cycle", "1", "--json", "short.json")
        self.validator.validate(json.loads((self.work / "short.json").read_text()))

    def test_the_schema_refuses_what_scripts_could_not_read(self):
        breaks = {
            "a key is gone": lambda d: d["intervals"][0].pop("hpi"),
            "an unknown key": lambda d: d["exact"]["levels"][0].update(extra=1),
            "another schema": lambda d: d.update(schema="vorela-results/2.0"),
            "a number as text": lambda d: d["levels"][0].update(depth="9800"),
            "a list cut short": lambda d: d["levels"][0]["extent"].pop(),
            "a cycle without flow": lambda d: d["levels"][1]["cycles"][2].pop("flow"),
            "an unknown method": lambda d: d["exact"]["intervals"][0].update(recommended="guess"),
            "a grade beyond the grades": lambda d: d["exact"]["intervals"][1].update(grade="E"),
            "a negative permeability": lambda d: d["exact"]["intervals"][0]["joint"].update(permeability=-1),
            "a chance above 1": lambda d: d["exact"]["intervals"][0]["joint"].update(pValue=1.5),
            "cycle number 0": lambda d: d["levels"][0]["cycles"][0].update(number=0),
            "no levels": lambda d: d.update(levels=[]),
        }
        self.assert_refused(self.validator, self.results, breaks)

    def assert_refused(self, validator, sound, breaks):
        for name, damage in breaks.items():
            document = copy.deepcopy(sound)
            damage(document)
            self.assertFalse(validator.is_valid(document), name)

    def test_plans_are_as_their_schema_says(self):
        validator = validator_of("plan")
        for inputs in ("k=100,skin=5,wanted=0.01", "k=0.01,skin=-2,cycles=2,gauge=5", "k=5000,skin=0,kBelow=0,flow=0.2,period=20",
                       "k=100,skin=5,compressibilityError=5,step=10,wanted=0.02"):
            plan = json.loads(self.run_in("vorela-batch", "--plan", inputs, "--json", "-"))
            validator.validate(plan)
        self.assertEqual(plan["recommended"], "constrained")
        self.assertIn("step is coarse for a sharp valve edge", plan["messages"])
        self.assertEqual([round(line["period"], 1) for line in plan["periods"] if line["fault"] is None][0], 56.5)
        self.assert_refused(validator, plan, {
            "the results' schema": lambda d: d.update(schema="vorela-results/1.0"),
            "an input is gone": lambda d: d["inputs"].pop("kBelow"),
            "an unknown input": lambda d: d["inputs"].update(depth3=1),
            "no harmonic": lambda d: d.update(levels=[]),
            "a share above 1": lambda d: d["levels"][0]["upper"].update(shareGauge=1.1),
            "a method without its errors": lambda d: d["joint"].pop("sigmaSkin"),
            "one cycle is wanted": lambda d: d.update(cyclesWanted=1),
            "a fault beside a result": lambda d: d["periods"][-1].update(lag=5.0),
        })

    def test_the_table_has_the_numbers_of_the_document(self):
        with open(self.work / "well.csv", newline="") as file:
            lines = list(csv.DictReader(file))
        self.assertEqual(len(lines), 2)
        for line, places, quicklook, exact in zip(lines, self.results["intervals"], self.results["quicklook"],
                                                  self.results["exact"]["intervals"]):
            found = exact[exact["recommended"]]
            for column, value in (("database", str(self.work / "well.dkb")), ("interval_ft", places["label"]),
                                  ("dataset1", places["dataset1"]), ("dataset2", places["dataset2"]),
                                  ("grade", exact["grade"]), ("method", exact["recommended"]),
                                  ("messages", "; ".join(exact["messages"]))):
                self.assertEqual(line[column], value)
            for column, value in (
                    ("depth1_ft", places["depth1"]), ("depth2_ft", places["depth2"]), ("hpi1_rps_per_psi", places["hpi1"]),
                    ("hpi2_rps_per_psi", places["hpi2"]), ("phase1_degrees", places["phase1"]),
                    ("phase2_degrees", places["phase2"]), ("reservoir_hpi_bbl_per_day_psi", places["reservoirHpi"]),
                    ("reservoir_phase_degrees", places["reservoirPhase"]), ("quicklook_k_mD", quicklook["permeability"]),
                    ("quicklook_skin", quicklook["skin"]), ("surface_hpi_bbl_per_day_psi", quicklook["surfaceHpi"]),
                    ("k_mD", found["permeability"]), ("k_lower_mD", found["permeabilityRange"][0]),
                    ("k_upper_mD", found["permeabilityRange"][1]), ("skin", found["skin"]),
                    ("skin_lower", found["skinRange"][0]), ("skin_upper", found["skinRange"][1]),
                    ("sigma_ln_k", found["sigmaLnPermeability"]), ("sigma_skin", found["sigmaSkin"]),
                    ("p_value", found["pValue"])):
                self.assertEqual(float(line[column]) if line[column] else None, value, column)
        header = (self.work / "well.csv").read_text().splitlines()[0]
        told = self.run_in("vorela-batch", "well.dkb", "LEVEL1", "--settings", SETTINGS, "--table", "one.csv")
        self.assertEqual((self.work / "one.csv").read_text(), header + "\n")
        self.assertIn("no interval", told)
        self.assertIn("must end in .csv", self.run_in("vorela-batch", "well.dkb", "--table", "x.txt", status=2))
        self.assertIn("read or written", self.run_in("vorela-batch", "well.dkb", "--table", "a.csv", "--export", "a.csv",
                                                     status=2))

    def test_eight_wells_at_once_give_what_each_gives_alone(self):
        told = self.run_in(SCRIPTS / "many-wells.sh", 8, 8, "wells", SETTINGS)
        self.assertIn("8 of 8 wells", told)
        table = (self.work / "wells/wells.csv").read_text()
        self.assertEqual(table.count("\n"), 1 + 8 * 3)
        for number in (3, 8):
            self.run_in("vorela-batch", f"wells/well-{number}.dkb", "--recreate", "--settings", SETTINGS, "--table",
                        "alone.csv")
            self.assertIn((self.work / "alone.csv").read_text().split("\n", 1)[1], table)
        self.assertIn("8 wells, 24 intervals, 24 with a result", self.run_in(SCRIPTS / "compare-wells.py", "wells/wells.csv"))
        os.environ["SLURM_ARRAY_TASK_ID"] = "3"  # this well once more, as an element of a job array
        before = (self.work / "wells/well-3.csv").read_text()
        self.run_in(SCRIPTS / "job-array.sh", "wells", SETTINGS)
        self.assertEqual((self.work / "wells/well-3.csv").read_text(), before)

    def test_databases_of_every_format_open_and_keep_what_was_recorded(self):
        # Each made by the programs of its time out of upper.csv and lower.csv.
        samples = SOURCE / "tests/store/samples"
        found = {}
        for number in (1, 2):
            name = f"format{number}.dkb"
            (self.work / name).write_bytes(gzip.decompress((samples / f"{name}.gz").read_bytes()))
            version = lambda: sqlite3.connect(self.work / name).execute("PRAGMA user_version").fetchone()[0]
            self.assertEqual(version(), number)
            for _ in ("as it was made", "raised by the analysis"):
                self.run_in("dravik", "check", name)
                for level in ("upper", "lower"):
                    exported = self.run_in("dravik", "export", name, level, "--curves", "ZG,RTC,PVLPOS,PVLID,PVLIDT,PVLT,ADPTH")
                    self.assertEqual(exported, (samples / f"{level}.csv").read_text())
                self.run_in("vorela-batch", name, "--settings", SETTINGS, "--set", "Parameters.Period=30", "--table", "f.csv")
            self.assertEqual(version(), 2)
            found[number] = (self.work / "f.csv").read_text().replace(name, "")
        self.assertEqual(found[1], found[2])
        self.assertEqual(found[1].count("\n"), 2)

    def test_the_profile_shows_every_interval(self):
        told = self.run_in(SCRIPTS / "profile.py", "well.json", "-o", "well.svg")
        for interval in self.results["exact"]["intervals"]:
            self.assertRegex(told, re.escape(interval["label"]) + r" ft  k \d")
        self.assertEqual((self.work / "well.svg").read_text().count('class="value"'), 4)
        (self.work / "old.json").write_text(json.dumps({**self.results, "schema": "vorela-results/2.0"}))
        self.assertIn("is not vorela-results/1.", self.run_in(SCRIPTS / "profile.py", "old.json", status=1))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
