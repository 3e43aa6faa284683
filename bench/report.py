#!/usr/bin/env python3
"""Writes bench/RESULTS.md from one run of bench/run.sh: the benchmark's JSON
(medians of its repetitions), the peak-memory probe and the peers' timings."""
import argparse
import json
import os
import platform
import subprocess

QUERIES = ["WebsiteExists", "GetWebsiteInfo", "Apache_getDirectiveInVH"]
REWRITES = ["DeleteWebsite", "StopWebsite", "Apache_UpdateDirectiveInVH", "Apache_AddDirectiveInVH",
            "CreateVirtualDirectory", "DeleteVirtualDirectory", "EnablePhp"]
# Rewrites that also run their documented backup "cp" before the rewrite.
BACKUP = {"Apache_UpdateDirectiveInVH", "Apache_AddDirectiveInVH"}
QUERY_TARGET, REWRITE_TARGET, PEER_TARGET, TARGET_SITES = 1.5, 2.0, 20.0, 10000
# The library's operation that does each peer edit.
PEER_EDITS = {"alias": "Apache_UpdateDirectiveInVH", "remove": "DeleteWebsite"}


def medians(path):
    with open(path) as f:
        data = json.load(f)
    out = {}
    for b in data["benchmarks"]:
        if b.get("aggregate_name", "median") != "median" and b.get("run_type") == "aggregate":
            continue
        if b.get("run_type") == "iteration" and any(x.get("run_type") == "aggregate" for x in data["benchmarks"]):
            continue
        name, sites = b["run_name"].split("/")[:2]
        scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[b["time_unit"]]
        out[(name, int(sites))] = b["real_time"] * scale
    return out, data.get("context", {})


def read_tsv(path):
    if not path or not os.path.exists(path):
        return []
    with open(path) as f:
        rows = [line.rstrip("\n").split("\t") for line in f if line.strip()]
    head = rows[0]
    return [dict(zip(head, r)) for r in rows[1:]]


def sh(command):
    try:
        return subprocess.run(command, shell=True, capture_output=True, text=True).stdout.strip()
    except OSError:
        return ""


def machine(compiler):
    model = next((l.split(":", 1)[1].strip() for l in open("/proc/cpuinfo") if l.startswith("model name")), "?")
    mem = next((l.split()[1] for l in open("/proc/meminfo") if l.startswith("MemTotal")), "0")
    return [
        f"- CPU: {model}, `nproc` = {os.cpu_count() and sh('nproc')}",
        f"- RAM: {int(mem) / 1024 / 1024:.1f} GiB",
        f"- Kernel: {platform.system()} {platform.release()}",
        f"- Compiler: {sh(compiler + ' --version').splitlines()[0] if compiler else '?'} (Release, -O3)",
        f"- Load average when the run ended: {open('/proc/loadavg').read().split()[0]}",
    ]


def fmt(ms):
    return f"{ms:.3f}" if ms < 1 else f"{ms:.2f}" if ms < 100 else f"{ms:.0f}"


def yes(ok):
    return "yes" if ok else "**no**"


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--bench", required=True)
    ap.add_argument("--memory")
    ap.add_argument("--peers")
    ap.add_argument("--files", required=True)
    ap.add_argument("--command", required=True)
    ap.add_argument("--compiler", default="c++")
    ap.add_argument("--scratch", default="")
    ap.add_argument("--repetitions", default="?")
    a = ap.parse_args()

    t, context = medians(a.bench)
    sizes = sorted({s for (_, s) in t})
    size_mb = {s: os.path.getsize(os.path.join(a.files, f"sites-{s}.conf")) / 1e6 for s in sizes}
    memory = read_tsv(a.memory)
    peers = read_tsv(a.peers)
    out = []
    w = out.append

    w("# Benchmark results")
    w("")
    w(f"Reproduce with `{a.command}` (from the repository root). It builds in Release, generates the")
    w("configurations below in a scratch folder, runs every operation on the site near the end of each")
    w(f"file next to its floor ({a.repetitions} repetitions, randomly interleaved; the median is shown), measures")
    w("each operation's peak memory in a fresh process, times the peers, and rewrites this file.")
    w("")
    w("## Machine")
    w("")
    out.extend(machine(a.compiler))
    if a.scratch:
        w(f"- Scratch folder (files, system root): {a.scratch}")
    w("")
    w("## Files")
    w("")
    w("| websites | size (MB) |")
    w("|---:|---:|")
    for s in sizes:
        w(f"| {s:,} | {size_mb[s]:.2f} |")
    w("")
    w("Each website is a block as website creation writes it; one in 10 also has a virtual directory (an")
    w("`Alias` and a protected `<Directory>` section), one in 4 a PHP handler block, one in 8 a second block")
    w("on port 443, one in 6 a `ScriptAlias`, and one in 10 is stopped (commented out line by line).")
    w("")

    # ---- Times and ratios
    w("## Times (ms, median) and ratio to the floor")
    w("")
    w("Floors, timed in the same run: **read** = reading the file once (64 KiB reads); **copy+mv** = copying")
    w("the file to a scratch file and running the shell's `mv` over it, as every rewrite ends.")
    w("")
    head = "| operation | kind |" + "".join(f" {s:,} |" for s in sizes) + f" ratio at {TARGET_SITES:,} | target | met |"
    w(head)
    w("|---|---|" + "---:|" * len(sizes) + "---:|---:|---|")
    for floor in ["ReadFloor", "CopyMoveFloor"]:
        label = "floor: read" if floor == "ReadFloor" else "floor: copy+mv"
        w(f"| *{label}* | |" + "".join(f" {fmt(t[(floor, s)])} |" for s in sizes) + " | | |")
    unmet = []
    for op in QUERIES + REWRITES:
        query = op in QUERIES
        floor = "ReadFloor" if query else "CopyMoveFloor"
        target = QUERY_TARGET if query else REWRITE_TARGET
        cells = "".join(f" {fmt(t[(op, s)])} ({t[(op, s)] / t[(floor, s)]:.1f}×) |" for s in sizes)
        ratio = t.get((op, TARGET_SITES), 0) / t.get((floor, TARGET_SITES), 1)
        ok = ratio <= target
        if not ok:
            unmet.append((op, ratio, target))
        kind = "query" if query else ("rewrite + backup cp" if op in BACKUP else "rewrite")
        w(f"| {op} | {kind} |{cells} {ratio:.2f}× | ≤ {target}× | {yes(ok)} |")
    w("")

    # ---- Linearity
    w("## Linear in file size")
    w("")
    w("Marginal cost in ms per MB of configuration between consecutive sizes (a fixed cost, such as the")
    w("shell commands, does not count): linear when it does not grow with the file. Met when the marginal")
    w("cost from 10,000 to 50,000 websites is at most 1.5× the one from 1,000 to 10,000 (the floors are")
    w("shown for comparison, not judged).")
    w("")
    pairs = list(zip(sizes, sizes[1:]))
    w("| operation |" + "".join(f" {a_:,}→{b_:,} |" for a_, b_ in pairs) + " met |")
    w("|---|" + "---:|" * len(pairs) + "---|")
    nonlinear = []
    for op in ["ReadFloor", "CopyMoveFloor"] + QUERIES + REWRITES:
        marg = [(t[(op, b_)] - t[(op, a_)]) / (size_mb[b_] - size_mb[a_]) for a_, b_ in pairs]
        floor = op.endswith("Floor")
        ok = True
        if len(marg) >= 3 and not floor:
            ok = marg[-1] <= 1.5 * marg[-2]
        if not ok:
            nonlinear.append(op)
        w(f"| {op} |" + "".join(f" {m:.2f} |" for m in marg) + (" — |" if floor else f" {yes(ok)} |"))
    w("")

    # ---- Memory
    if memory:
        w("## Peak memory")
        w("")
        w("Each operation runs once in a fresh process; the growth of its peak resident set (VmHWM) during")
        w("the call, in KiB. Bounded by the largest block when it does not grow with the file.")
        w("")
        msizes = sorted({int(r["sites"]) for r in memory})
        w("| operation |" + "".join(f" {s:,} |" for s in msizes) + " met |")
        w("|---|" + "---:|" * len(msizes) + "---|")
        w("| *file size (KiB)* |" + "".join(
            f" {int(next(r['bytes'] for r in memory if int(r['sites']) == s)) // 1024:,} |" for s in msizes) + " |")
        unbounded = []
        for op in ["ReadFloor", "CopyMoveFloor"] + QUERIES + REWRITES:
            growth = {int(r["sites"]): int(r["peak_after_kb"]) - int(r["peak_before_kb"])
                      for r in memory if r["operation"] == op}
            ok = growth[msizes[-1]] - growth[msizes[0]] < 1024
            if not ok:
                unbounded.append(op)
            w(f"| {op} |" + "".join(f" {growth[s]:,} |" for s in msizes) + f" {yes(ok)} |")
        w("")
    else:
        unbounded = ["(not measured)"]

    # ---- Peers
    slow = []
    if peers:
        w("## Peers: the same edit with augtool and sed -i")
        w("")
        w("Setting one site's `ServerAlias` (library: `Apache_UpdateDirectiveInVH`) and removing one site's")
        w("block (library: `DeleteWebsite`) on a fresh copy of the same file; `augtool` with the Httpd lens,")
        w("`sed -i` with an equivalent expression. Seconds (median); the library's time from the table above.")
        w("")
        w("| edit | websites | library (s) | sed -i (s) | augtool (s) | augtool ÷ library |")
        w("|---|---:|---:|---:|---:|---:|")
        for edit, op in PEER_EDITS.items():
            for s in sorted({int(r["sites"]) for r in peers}):
                row = {r["tool"]: r for r in peers if r["edit"] == edit and int(r["sites"]) == s}
                lib = t.get((op, s))
                if lib is None:
                    continue
                aug, sed = row.get("augtool"), row.get("sed")
                aug_s = float(aug["seconds"]) if aug else None
                note = "" if not aug or aug["status"] == "ok" else f" ({aug['status']})"
                speed = aug_s / (lib / 1e3) if aug_s else 0
                if s == TARGET_SITES and speed < PEER_TARGET:
                    slow.append(edit)
                prefix = "≥ " if aug and aug["status"] == "timeout" else ""
                w(f"| {edit} | {s:,} | {lib / 1e3:.4f} | {float(sed['seconds']):.4f} | "
                  f"{(prefix + format(aug_s, '.3f')) if aug_s else '-'}{note} | {prefix}{speed:.0f}× |")
        w("")

    # ---- Verdict
    w("## Targets")
    w("")
    w(f"- Queries within {QUERY_TARGET}× of the read floor at {TARGET_SITES:,} websites: "
      + ("met" if not [u for u in unmet if u[0] in QUERIES] else "**not met** (" + ", ".join(
          f"{o} {r:.1f}×" for o, r, _ in unmet if o in QUERIES) + ")"))
    w(f"- Rewrites within {REWRITE_TARGET}× of the copy+mv floor at {TARGET_SITES:,} websites: "
      + ("met" if not [u for u in unmet if u[0] in REWRITES] else "**not met** (" + ", ".join(
          f"{o} {r:.1f}×" for o, r, _ in unmet if o in REWRITES) + ")"))
    w("- Linear in file size from 1,000 to 50,000 websites: "
      + ("met" if not nonlinear else "**not met** (" + ", ".join(nonlinear) + ")"))
    w("- Memory bounded by the largest block, not the file: "
      + ("met" if not unbounded else "**not met** (" + ", ".join(unbounded) + ")"))
    if peers and any(int(r["sites"]) == TARGET_SITES for r in peers):
        w(f"- At least {PEER_TARGET:.0f}× faster than augtool at {TARGET_SITES:,} websites: "
          + ("met" if not slow else "**not met** (" + ", ".join(slow) + ")"))
    else:
        w(f"- At least {PEER_TARGET:.0f}× faster than augtool at {TARGET_SITES:,} websites: not measured")
    w("")
    notes = os.path.join(os.path.dirname(os.path.abspath(__file__)), "analysis.md")
    if os.path.exists(notes):
        out.append(open(notes).read().rstrip("\n"))
    print("\n".join(out))


if __name__ == "__main__":
    main()
