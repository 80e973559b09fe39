#!/usr/bin/env python3
"""Turns one run's results (benchmarks.json, load.jsonl, tool_vs_protoc.json)
into the summary table with the ratios and targets. Usage: summarize.py DIR"""

import json
import os
import platform
import statistics
import sys


def load(results):
    with open(os.path.join(results, "benchmarks.json")) as f:
        data = json.load(f)
    times = {}
    for b in data["benchmarks"]:
        if b.get("run_type") == "aggregate":
            continue
        # "parse_heap/config_100/real_time" -> "parse_heap/config_100"
        times[b["name"].removesuffix("/real_time")] = b
    return data["context"], times


def ns(b):
    unit = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}[b["time_unit"]]
    return b["real_time"] * unit


def mbps(b):
    return b.get("bytes_per_second", 0.0) / 1e6


def ratio(times, slow, fast, workload):
    a, b = times.get(f"{slow}/{workload}"), times.get(f"{fast}/{workload}")
    if not a or not b:
        return None
    return ns(a) / ns(b)


def fmt(x, digits=1):
    return "-" if x is None else f"{x:.{digits}f}"


def verdict(ok):
    return "met" if ok else "MISSED"


def main():
    results = sys.argv[1]
    context, times = load(results)
    workloads = [k.split("/", 1)[1] for k in times if k.startswith("parse_heap/")]
    out = []
    w = out.append
    w("# Benchmark results\n")
    w(f"Machine: {context.get('num_cpus')} CPUs at {context.get('mhz_per_cpu')} MHz, "
      f"{platform.system()} {platform.release()}; library build type "
      f"{context.get('library_build_type')}; run {context.get('date')}.\n")

    w("## Throughput (MB/s of encoded document) and ratios, one run\n")
    w("| workload | bytes | parse heap | parse arena | parse dynamic | generated/dynamic | "
      "arena/heap | serialize generated | serialize dynamic | generated/dynamic |")
    w("|---|---|---|---|---|---|---|---|---|---|")
    for wl in workloads:
        size = context.get("bytes_" + wl, "?")
        w(f"| {wl} | {size} | {fmt(mbps(times[f'parse_heap/{wl}']))} | "
          f"{fmt(mbps(times[f'parse_arena/{wl}']))} | {fmt(mbps(times[f'parse_dynamic/{wl}']))} | "
          f"{fmt(ratio(times, 'parse_dynamic', 'parse_heap', wl), 2)}x | "
          f"{fmt(ratio(times, 'parse_heap', 'parse_arena', wl), 2)}x | "
          f"{fmt(mbps(times[f'serialize_generated/{wl}']))} | "
          f"{fmt(mbps(times[f'serialize_dynamic/{wl}']))} | "
          f"{fmt(ratio(times, 'serialize_dynamic', 'serialize_generated', wl), 2)}x |")
    w("")
    w("| workload | deep decode heap | deep decode arena | arena/heap | JSON decode (expanded) | JSON encode |")
    w("|---|---|---|---|---|---|")
    for wl in workloads:
        deep_h = times.get(f"deep_decode_heap/{wl}")
        deep_a = times.get(f"deep_decode_arena/{wl}")
        w(f"| {wl} | {fmt(mbps(deep_h)) if deep_h else '-'} | {fmt(mbps(deep_a)) if deep_a else '-'} | "
          f"{fmt(ratio(times, 'deep_decode_heap', 'deep_decode_arena', wl), 2)}"
          f"{'x' if deep_h else ''} | {fmt(mbps(times[f'json_decode/{wl}']))} | "
          f"{fmt(mbps(times[f'json_encode/{wl}']))} |")
    w("")

    w("## Scaling: parse time per input (heap), configuration documents\n")
    per_input = {}
    for wl in workloads:
        b = times[f"parse_heap/{wl}"]
        if wl.startswith("config_"):
            per_input[int(wl.split("_")[1])] = b["ns_per_input"] * 1e9
    w("| inputs | ns per input |")
    w("|---|---|")
    for n in sorted(per_input):
        w(f"| {n} | {fmt(per_input[n])} |")
    flat = [per_input[n] for n in sorted(per_input) if n >= 1000]
    spread = None
    if flat:
        mid = statistics.median(flat)
        spread = max(abs(v - mid) / mid for v in flat) * 100
    w(f"\nSpread from 1 000 to 100 000 inputs: ±{fmt(spread)}% around the median.\n")

    loads = []
    with open(os.path.join(results, "load.jsonl")) as f:
        loads = [json.loads(line) for line in f if line.strip()]
    dl = statistics.median(l["dlopen_us"] for l in loads)
    fd = statistics.median(l["first_descriptor_us"] for l in loads)
    fp = statistics.median(l["first_parse_us"] for l in loads)
    sp = statistics.median(l["parse_us"] for l in loads)
    built = any(l["descriptors_built_at_load"] for l in loads)
    w(f"## Load cost (median of {len(loads)} fresh processes)\n")
    w("| step | µs |")
    w("|---|---|")
    w(f"| dlopen until all 35 files are registered | {fmt(dl)} |")
    w(f"| first ConfigData descriptor (Config.proto built on first use) | {fmt(fd)} |")
    w(f"| first parse of the 1 000-input document | {fmt(fp)} |")
    w(f"| a further parse of the same document | {fmt(sp)} |")
    w(f"\nDescriptors built at load: {'yes' if built else 'no'}.\n")

    tool = None
    tool_path = os.path.join(results, "tool_vs_protoc.json")
    if os.path.exists(tool_path):
        with open(tool_path) as f:
            tool = {r["command"]: r for r in json.load(f)["results"]}
        w("## The tool against protoc, 100 000-input document (hyperfine medians)\n")
        w("| command | median s |")
        w("|---|---|")
        for name, r in tool.items():
            w(f"| {name} | {r['median']:.3f} |")
        w("")

    buf = None
    buf_path = os.path.join(results, "tool_vs_buf.json")
    memory = None
    if os.path.exists(buf_path):
        with open(buf_path) as f:
            buf = {r["command"]: r for r in json.load(f)["results"]}
        with open(os.path.join(results, "decode_memory.json")) as f:
            memory = json.load(f)
        w("## The tool against buf convert (hyperfine medians, whole processes)\n")
        w("| command | median s |")
        w("|---|---|")
        for name, r in buf.items():
            w(f"| {name} | {r['median']:.4f} |")
        w("")
        w(f"Peak memory of `decode --no-expand -j1`, 100 000 inputs: {memory['peak_kib'] / 1024:.1f} MiB "
          f"for {memory['input_bytes'] / 2**20:.1f} MiB in and {memory['output_bytes'] / 2**20:.1f} MiB out.\n")

    w("## Targets\n")
    w("| target | measured | |")
    w("|---|---|---|")
    # A device image is six byte blocks: parsing or writing it is a copy of
    # those blocks whatever the classes, so the generated-versus-reflection
    # targets are taken on the documents made of records.
    structured = [wl for wl in workloads if not wl.startswith("device_")]
    for wl in structured:
        r = ratio(times, "parse_dynamic", "parse_heap", wl)
        w(f"| parse generated vs DynamicMessage ≥ 3x ({wl}) | {fmt(r, 2)}x | {verdict(r >= 3)} |")
    for wl in structured:
        r = ratio(times, "serialize_dynamic", "serialize_generated", wl)
        w(f"| serialize generated vs DynamicMessage ≥ 10x ({wl}) | {fmt(r, 2)}x | {verdict(r >= 10)} |")
    r = ratio(times, "parse_heap", "parse_arena", "config_10000")
    w(f"| arena vs heap parse, 10 000 inputs ≥ 1.4x | {fmt(r, 2)}x | {verdict(r >= 1.4)} |")
    r = ratio(times, "deep_decode_heap", "deep_decode_arena", "config_10000")
    w(f"| deep decode arena vs heap, 10 000 inputs ≥ 1.4x | {fmt(r, 2)}x | {verdict(r >= 1.4)} |")
    if spread is not None:
        w(f"| per-input cost flat within ±25% (1 000 to 100 000) | ±{fmt(spread)}% | {verdict(spread <= 25)} |")
    w(f"| registering all files < one parse of 1 000 inputs | {fmt(dl)} µs vs {fmt(sp)} µs | {verdict(dl < sp)} |")
    w(f"| nothing built at load | {'built' if built else 'not built'} | {verdict(not built)} |")
    if tool:
        p = tool["protoc --decode"]["median"]
        t = tool["gcuschema decode --format text"]["median"]
        j = tool["gcuschema decode (expanded JSON)"]["median"]
        e = tool["gcuschema encode --format text"]["median"]
        pe = tool["protoc --encode"]["median"]
        w(f"| decode --format text ≥ 2x faster than protoc --decode | {p / t:.2f}x | {verdict(p / t >= 2)} |")
        w(f"| expanded JSON decode no slower than protoc --decode | {p / j:.2f}x | {verdict(p / j >= 1)} |")
        w(f"| encode ≥ 2x faster than protoc --encode | {pe / e:.2f}x | {verdict(pe / e >= 2)} |")
    if buf:
        def med(name):
            return buf[name]["median"]
        for n, goal in ((100000, 2.5), (100, 8)):
            r = med(f"buf convert binpb to json ({n} inputs)") / med(f"gcuschema decode --no-expand -j1 ({n} inputs)")
            w(f"| decode --no-expand -j1 ≥ {goal}x faster than buf convert to JSON ({n} inputs) | {r:.2f}x | "
              f"{verdict(r >= goal)} |")
        for n in (100000, 100):
            r = med(f"buf convert json to binpb ({n} inputs)") / med(f"gcuschema encode ({n} inputs)")
            w(f"| JSON to binary at least as fast as buf convert ({n} inputs) | {r:.2f}x | {verdict(r >= 1)} |")
        limit = 4 * (memory["input_bytes"] + memory["output_bytes"])
        peak = memory["peak_kib"] * 1024
        w(f"| decode peak memory ≤ 4x input + output (100 000 inputs) | {peak / (memory['input_bytes'] + memory['output_bytes']):.2f}x | "
          f"{verdict(peak <= limit)} |")
        j1 = med("gcuschema decode --no-expand -j1 (100000 inputs)")
        j2 = med("gcuschema decode --no-expand -j2 (100000 inputs)")
        x1 = med("gcuschema decode -j1 (100000 inputs, expanded)")
        x2 = med("gcuschema decode -j2 (100000 inputs, expanded)")
        # The most two threads could give on this machine: two one-thread
        # decodes done in the time of one.
        ceiling = 2 * x1 / med("two gcuschema decode -j1 at once (100000 inputs, expanded)")
        w(f"| two threads pay: decode -j2 faster than -j1, plain / expanded (100 000 inputs; "
          f"two cores give at most {ceiling:.2f}x here) | {j1 / j2:.2f}x / {x1 / x2:.2f}x | "
          f"{verdict(j1 / j2 > 1 and x1 / x2 > 1)} |")
    print("\n".join(out))


if __name__ == "__main__":
    main()
