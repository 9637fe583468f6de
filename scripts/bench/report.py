#!/usr/bin/python3
"""Prints the end-to-end benchmark's table from the runs' JSON files: the median of the runs
and their spread (lowest to highest), beside each budget. Where a run measured a step several
times, every time counts.

  report.py --runs run1.json run2.json ... [--large large1.json ...]
"""

import argparse
import json
import statistics


def load(paths):
    runs = []
    for path in paths:
        with open(path) as f:
            runs.append(json.load(f))
    return runs


def figure(runs, key, scale=1.0, digits=0):
    every = key.replace("_main_ms", "_all_ms").replace("_open_ms", "_open_all_ms")
    if every != key and any(every in r for r in runs):
        values = [v * scale for r in runs for v in r.get(every, [])]
    else:
        values = [r[key] * scale for r in runs if key in r]
    if not values:
        return None, "not measured"
    med = statistics.median(values)
    text = f"{med:.{digits}f} ({min(values):.{digits}f}–{max(values):.{digits}f})"
    return med, text


def calls(runs, key):
    lists = [r.get(key) for r in runs if key in r]
    if not lists:
        return ""
    longest = max(lists, key=len)
    return ", ".join(longest) if longest else "none"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--runs", nargs="+", required=True)
    parser.add_argument("--large", nargs="*", default=[])
    parser.add_argument("--large-count", default="5,000")
    args = parser.parse_args()
    runs, large = load(args.runs), load(args.large)

    rows = []

    def row(measure, budget, runs_, key, limit, scale=1.0, digits=0, unit="", note=""):
        med, text = figure(runs_, key, scale, digits)
        verdict = "—" if med is None or limit is None else ("met" if med <= limit else "missed")
        rows.append((measure, budget, f"{text} {unit}".strip(), verdict, note))

    row("process start → main window mapped", "≤ 0.5 s", runs, "start_mapped_s", 500, 1000,
        unit="ms")
    row("process start → first page of the inbox painted", "≤ 1.0 s", runs, "start_painted_s",
        1000, 1000, unit="ms")
    row("requests from start to first page (after the session)", "≤ 4", runs, "start_requests", 4,
        note="then %s read-ahead of the first threads and %s new-mail check, once the page has "
        "arrived" % (figure(runs, "start_read_ahead")[1], figure(runs, "start_new_mail_check")[1]))
    row("j/k onto a prefetched thread → reader painted (main thread)", "≤ 16 ms", runs,
        "jk_shown_main_ms", 16, digits=1, unit="ms",
        note="then %s to take in the fresh copy; requests: %s (after it shows)"
        % (figure(runs, "jk_total_main_ms", digits=1)[1] + " ms", calls(runs, "jk_calls")))
    row("opening a thread that is not cached → painted", "1 request + ≤ 100 ms", runs,
        "uncached_open_ms", 100, unit="ms",
        note="first change after %s ms; requests: %s"
        % (figure(runs, "uncached_first_change_ms")[1], calls(runs, "uncached_calls")))
    row("archive with \"e\" → next thread shown (main thread)", "≤ 16 ms", runs,
        "archive_shown_main_ms", 16, digits=1, unit="ms",
        note="%s ms with what follows; requests: %s"
        % (figure(runs, "archive_total_main_ms", digits=1)[1], calls(runs, "archive_calls")))
    row("reply window open → caret in body", "≤ 100 ms, 0 requests", runs, "reply_open_ms", 100,
        digits=1, unit="ms", note="requests: %s" % figure(runs, "reply_requests")[1])
    row("memory (PSS) of the process tree, 200 threads listed, 10-message thread open, 3 "
        "expanded", "≤ 250 MB", runs, "memory_mb", 250, unit="MB")
    row("CPU idle for 60 s, push down (timer)", "< 1 %", runs, "idle_push_down_percent", 1,
        digits=3, unit="%")
    row("CPU idle for 60 s, push live", "< 1 %", runs, "idle_push_live_percent", 1, digits=3,
        unit="%")
    row("5 MB newsletter opened and scrolled: longest main-thread stretch", "≤ 50 ms", runs,
        "newsletter_longest_ms", 50, digits=1, unit="ms")
    if large:
        n = args.large_count
        row(f"{n} conversations: start → main window mapped", "≤ 0.5 s", large,
            "start_mapped_s", 500, 1000, unit="ms")
        row(f"{n} conversations: start → first page painted", "≤ 1.0 s", large,
            "start_painted_s", 1000, 1000, unit="ms")
        row(f"{n} conversations: requests to first page", "≤ 4", large, "start_requests", 4)

    print(f"| Measure | Budget | Median (spread) of {len(runs)} runs | | Notes |")
    print("|---|---|---|---|---|")
    for measure, budget, value, verdict, note in rows:
        print(f"| {measure} | {budget} | {value} | {verdict} | {note} |")
    print()
    print("Steps taken several times in a run (j/k 10 times, an uncached thread 4, `e` 5) count "
          "each time.")


if __name__ == "__main__":
    main()
