#!/usr/bin/env python3
"""Replays the small faults of scripts/faults.txt one at a time and records which tests catch each.

Each fault replaces one exact text in one source file (it must occur exactly once), the preset is
rebuilt and the whole suite run; the file is restored whatever happens. The result maps every
fault to the tests that failed. With --compare, faults that an earlier result saw caught and this
run does not are listed, and the exit status is 1.

  scripts/faults.py --out build/faults-before.json
  scripts/faults.py --out build/faults-after.json --compare build/faults-before.json
  scripts/faults.py --only stream-underrun-log-level    # one fault, results on the terminal
  scripts/faults.py --only ... --tests Formula --targets formula_tests   # one area only
"""
import argparse
import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def read_faults(path):
    """Blocks of 'key: value' lines separated by blank lines; keys id, file, from, to, what."""
    faults, block = [], {}
    for line in path.read_text().splitlines() + [""]:
        if line.startswith("#"):
            continue
        if not line.strip():
            if block:
                missing = {"id", "file", "from", "to", "what"} - block.keys()
                if missing:
                    sys.exit(f"{path}: fault {block.get('id', '?')} lacks {', '.join(sorted(missing))}")
                faults.append(block)
            block = {}
            continue
        key, _, value = line.partition(": ")
        block[key.strip()] = value.encode().decode("unicode_escape") if key in ("from", "to") else value
    return faults


def run(cmd, timeout):
    return subprocess.run(cmd, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, timeout=timeout)


def replay(fault, preset, tests, targets):
    source = ROOT / fault["file"]
    original = source.read_text()
    if original.count(fault["from"]) != 1:
        return {"error": f"'from' occurs {original.count(fault['from'])} times in {fault['file']}"}
    try:
        source.write_text(original.replace(fault["from"], fault["to"]))
        build = ["cmake", "--build", f"build/{preset}"] + (["--target"] + targets if targets else [])
        if run(build, 1800).returncode != 0:
            return {"error": "does not build"}
        failed_log = ROOT / f"build/{preset}/Testing/Temporary/LastTestsFailed.log"
        failed_log.unlink(missing_ok=True)
        run(["ctest", "--test-dir", f"build/{preset}", "-j2", "--timeout", "120", "-Q"] +
            (["-R", tests] if tests else []), 3600)
        lines = failed_log.read_text().splitlines() if failed_log.exists() else []
        return {"caught_by": sorted(line.split(":", 1)[1] for line in lines if ":" in line)}
    finally:
        source.write_text(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--faults", default=str(ROOT / "scripts/faults.txt"))
    parser.add_argument("--preset", default="default")
    parser.add_argument("--only", nargs="*", help="fault ids to replay (default: all)")
    parser.add_argument("--tests", help="a ctest -R regular expression: run only these tests")
    parser.add_argument("--targets", nargs="*", help="build only these targets (with --tests)")
    parser.add_argument("--out", help="write the result as JSON")
    parser.add_argument("--compare", help="an earlier result: report faults no longer caught")
    args = parser.parse_args()

    faults = [f for f in read_faults(pathlib.Path(args.faults)) if not args.only or f["id"] in args.only]
    results = {}
    for fault in faults:
        results[fault["id"]] = replay(fault, args.preset, args.tests, args.targets)
        caught = results[fault["id"]].get("caught_by")
        verdict = results[fault["id"]].get("error") or (f"caught by {len(caught)}" if caught else "NOT CAUGHT")
        print(f"{fault['id']:40} {verdict}", flush=True)
    targets = ["--target"] + args.targets if args.targets else []
    run(["cmake", "--build", f"build/{args.preset}"] + targets, 1800)  # the build as the sources

    if args.out:
        pathlib.Path(args.out).write_text(json.dumps(results, indent=1) + "\n")
    caught = sum(1 for r in results.values() if r.get("caught_by"))
    print(f"{caught} of {len(results)} faults caught")
    if args.compare:
        before = json.loads(pathlib.Path(args.compare).read_text())
        lost = [i for i, r in before.items() if r.get("caught_by") and not results.get(i, {}).get("caught_by")]
        for fault_id in lost:
            print(f"no longer caught: {fault_id} (before: {', '.join(before[fault_id]['caught_by'][:5])})")
        return 1 if lost else 0
    return 0


if __name__ == "__main__":
    sys.exit(main())
