#!/usr/bin/python3
"""Drives a running X display as a user would and measures Veldrin from outside: windows and
pixels through the X server, key presses through XTEST, CPU time and memory through /proc, and
requests through the JMAP server's own request log (Cyrus's telemetry).

  drive.py --program P --session-url U --telemetry DIR --home H [--proxy-url U2] --out FILE

Writes one JSON object of figures to FILE. Nothing in the program knows it is measured.
"""

import argparse
import json
import os
import re
import select
import shutil
import subprocess
import threading
import time
import zlib

from Xlib import X, XK, display
from Xlib.ext import damage, xtest

# The main window's default size on a 1280 x 860 screen, and where its parts are.
LIST_FIRST_ROW = (236, 95, 312, 50)
READER = (590, 56, 660, 730)
REQUEST = re.compile(rb"<(\d+)<(GET|POST|PUT|DELETE|HEAD) (\S+) HTTP")
FIRST_CALL = re.compile(rb'"methodCalls":\[\["([A-Za-z/]+)"')
NEW_MAIL_CHECK = b'"after":'
NEW_MAIL = "Email/query (new-mail check)"


class Telemetry:
    """Counts the requests the server has logged, leaving out the session and the push stream."""

    def __init__(self, directory):
        self.directory = directory

    def mark(self):
        """Where each log file ends now; requests(mark) gives only what came after."""
        if not os.path.isdir(self.directory):
            return {}
        return {name: os.path.getsize(os.path.join(self.directory, name))
                for name in os.listdir(self.directory)}

    def requests(self, since=None):
        found = []
        if not os.path.isdir(self.directory):
            return found
        for name in sorted(os.listdir(self.directory)):
            with open(os.path.join(self.directory, name), "rb") as f:
                text = f.read()
                start = (since or {}).get(name, 0)
                for match in REQUEST.finditer(text, start):
                    method, path = match.group(2).decode(), match.group(3).decode()
                    if method == "GET" and (path.rstrip("/") == "/jmap" or "eventsource" in path):
                        continue
                    call = FIRST_CALL.search(text, match.end(), match.end() + 4000)
                    name = call.group(1).decode() if call else f"{method} {path.split('?')[0]}"
                    if "/download/" in path:
                        # An inline image of a message shown.
                        name = "blob download"
                    # The new-mail check asks for unread inbox mail received after a moment.
                    if name == "Email/query" and NEW_MAIL_CHECK in text[match.end():match.end() + 4000]:
                        name = NEW_MAIL
                    found.append((method, path, name))
        return found

    def count(self, since=None):
        return len(self.requests(since))

    def calls(self, since=None):
        return [c for _, _, c in self.requests(since)]

    def clear(self):
        if os.path.isdir(self.directory):
            for name in os.listdir(self.directory):
                os.remove(os.path.join(self.directory, name))


def main_thread_ns(pid):
    with open(f"/proc/{pid}/task/{pid}/schedstat") as f:
        return int(f.read().split()[0])


def process_tree(pid):
    children = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat") as f:
                fields = f.read().rsplit(")", 1)[1].split()
            children.setdefault(int(fields[1]), []).append(int(entry))
        except OSError:
            pass
    tree, todo = [], [pid]
    while todo:
        p = todo.pop()
        tree.append(p)
        todo.extend(children.get(p, []))
    return tree


def tree_cpu_ns(pid):
    """CPU time of each thread of the process tree, by (process, thread)."""
    times = {}
    for p in process_tree(pid):
        try:
            for task in os.listdir(f"/proc/{p}/task"):
                with open(f"/proc/{p}/task/{task}/schedstat") as f:
                    times[(p, task)] = int(f.read().split()[0])
        except OSError:
            pass
    return times


def cpu_percent(before, after, seconds):
    """The share of one core the tree used between two readings. A thread that ended in between
    takes its time with it, so only threads alive at the end count (what they used since the
    first reading, or all of it when they are new); summing whole trees instead can go below 0."""
    used = sum(max(0, t - before.get(key, 0)) for key, t in after.items())
    return used / 1e9 / seconds * 100


def tree_pss_kb(pid):
    total = 0
    for p in process_tree(pid):
        try:
            with open(f"/proc/{p}/smaps_rollup") as f:
                for line in f:
                    if line.startswith("Pss:"):
                        total += int(line.split()[1])
        except OSError:
            pass
    return total


def tree_pss_kb_of(pid):
    try:
        with open(f"/proc/{pid}/smaps_rollup") as f:
            for line in f:
                if line.startswith("Pss:"):
                    return int(line.split()[1])
    except OSError:
        pass
    return 0


def comm(pid):
    try:
        with open(f"/proc/{pid}/cmdline", "rb") as f:
            parts = f.read().split(b"\0")
        kind = [p for p in parts if p.startswith(b"--type=")]
        return os.path.basename(parts[0].decode()) + (" " + kind[0].decode()[7:] if kind else "")
    except OSError:
        return "?"


class Screen:
    def __init__(self):
        self.d = display.Display()
        self.root = self.d.screen().root

    def windows(self):
        found = []
        for w in self.root.query_tree().children:
            try:
                attrs = w.get_attributes()
                name = w.get_wm_name()
                geometry = w.get_geometry()
            except Exception:
                continue
            if attrs.map_state == X.IsViewable and geometry.width > 100 and name:
                found.append((w, name if isinstance(name, str) else name.decode(), geometry))
        return found

    def region(self, x, y, w, h):
        image = self.root.get_image(x, y, w, h, X.ZPixmap, 0xFFFFFFFF)
        return image.data

    def has_text(self, box):
        """Dark pixels on a light ground: rows of text are drawn there."""
        data = self.region(*box)
        dark = light = 0
        for i in range(0, len(data), 4 * 3):
            b, g, r = data[i], data[i + 1], data[i + 2]
            lum = (r * 3 + g * 6 + b) // 10
            dark += lum < 110
            light += lum > 220
        return dark > 40 and light > 200

    def key(self, name, modifiers=()):
        codes = [self.d.keysym_to_keycode(XK.string_to_keysym(m)) for m in modifiers]
        code = self.d.keysym_to_keycode(XK.string_to_keysym(name))
        for c in codes:
            xtest.fake_input(self.d, X.KeyPress, c)
        xtest.fake_input(self.d, X.KeyPress, code)
        xtest.fake_input(self.d, X.KeyRelease, code)
        for c in reversed(codes):
            xtest.fake_input(self.d, X.KeyRelease, c)
        self.d.sync()

    def type(self, text):
        for ch in text:
            name = {" ": "space", "#": "numbersign", "/": "slash"}.get(ch, ch)
            self.key(name, ("Shift_L",) if ch == "#" else ())

    def focus(self):
        return self.d.get_input_focus().focus


class Changes:
    """Tells when pixels of a part of the screen change, from the X server's damage reports on
    the window that draws there: the driver sleeps until the server reports drawing, then
    compares the pixels, rather than copying the part over and over while the program works."""

    def __init__(self, window, box, probe=None):
        self.d = display.Display()
        self.probe = probe
        self.probed = None
        self.d.damage_query_version()
        self.box = box
        target = self.d.create_resource_object("window", window.id)
        origin = target.translate_coords(self.d.screen().root, 0, 0)
        self.dx, self.dy = -origin.x, -origin.y
        self.damage = target.damage_create(damage.DamageReportRawRectangles)
        self.d.sync()
        self.pixels = None

    def _checksum(self):
        image = self.d.screen().root.get_image(*self.box, X.ZPixmap, 0xFFFFFFFF)
        return zlib.crc32(image.data)

    def _drawn_in_box(self, timeout):
        """Waits up to timeout seconds for drawing that touches the box; true if there was."""
        end = time.monotonic() + timeout
        x, y, w, h = self.box
        while True:
            while self.d.pending_events():
                event = self.d.next_event()
                area = getattr(event, "area", None)
                if area is None:
                    continue
                ax, ay = area.x + self.dx, area.y + self.dy
                if ax < x + w and ax + area.width > x and ay < y + h and ay + area.height > y:
                    # The rest of this burst of drawing is read with it.
                    while self.d.pending_events():
                        self.d.next_event()
                    return True
            left = end - time.monotonic()
            if left <= 0:
                return False
            select.select([self.d.fileno()], [], [], left)

    def mark(self):
        """Takes the pixels as they are now, to compare what follows with."""
        while self.d.pending_events():
            self.d.next_event()
        self.pixels = self._checksum()

    def next_change(self, timeout):
        """Waits for the pixels to differ from the last mark or change; gives the time they were
        drawn, or None after timeout seconds. The probe's reading at that moment is kept in
        `probed`."""
        end = time.monotonic() + timeout
        while True:
            left = end - time.monotonic()
            if left <= 0 or not self._drawn_in_box(left):
                return None
            seen = time.monotonic()
            # What the program had done by the time it drew, read before the pixels are.
            probed = self.probe() if self.probe else None
            now = self._checksum()
            if now != self.pixels:
                self.pixels = now
                self.probed = probed
                return seen

    def last_change(self, since, quiet):
        """The time of the last change before the pixels stay the same for `quiet` seconds."""
        last = since
        while True:
            changed = self.next_change(quiet)
            if changed is None:
                return last
            last = changed

    def close(self):
        self.d.damage_destroy(self.damage)
        self.d.close()


def median(values):
    ordered = sorted(values)
    return ordered[len(ordered) // 2]


def wait_for(predicate, timeout, step=0.001):
    end = time.monotonic() + timeout
    while time.monotonic() < end:
        value = predicate()
        if value:
            return value
        time.sleep(step)
    return None


def settle_cpu(pid, quiet=0.08, limit=5.0):
    """Waits until the main thread has been idle for `quiet` seconds; gives the CPU time it
    used up to the start of that idle stretch, in milliseconds."""
    start = main_thread_ns(pid)
    last_busy_ns = start
    idle_since = time.monotonic()
    end = time.monotonic() + limit
    previous = start
    while time.monotonic() < end:
        time.sleep(0.002)
        now_ns = main_thread_ns(pid)
        if now_ns - previous > 200_000:
            idle_since = time.monotonic()
            last_busy_ns = now_ns
        previous = now_ns
        if time.monotonic() - idle_since >= quiet:
            break
    return (last_busy_ns - start) / 1e6


def settle_network(telemetry, quiet=1.5, limit=30):
    end = time.monotonic() + limit
    count = telemetry.count()
    since = time.monotonic()
    while time.monotonic() < end:
        time.sleep(0.1)
        now = telemetry.count()
        if now != count:
            count, since = now, time.monotonic()
        elif time.monotonic() - since >= quiet:
            break
    return count


def settle(pid, telemetry):
    settle_network(telemetry)
    settle_cpu(pid, quiet=0.3)


class Sampler(threading.Thread):
    """Samples the main thread's CPU time every 2 ms, for the longest busy stretch."""

    def __init__(self, pid):
        super().__init__(daemon=True)
        self.pid, self.samples, self.running = pid, [], True

    def run(self):
        while self.running:
            self.samples.append((time.monotonic(), main_thread_ns(self.pid)))
            time.sleep(0.002)

    def longest_busy_ms(self):
        longest = current = 0.0
        for (t0, c0), (t1, c1) in zip(self.samples, self.samples[1:]):
            wall = t1 - t0
            if wall > 0 and (c1 - c0) / 1e9 >= 0.8 * wall:
                current += wall
                longest = max(longest, current)
            else:
                current = 0.0
        return longest * 1000


def launch(args, home, session_url, page_size=None):
    if os.path.exists(home):
        shutil.rmtree(home)
    os.makedirs(os.path.join(home, ".config", "veldrin"))
    config = {"sessionUrl": session_url, "markReadOnOpen": False}
    if page_size:
        config["pageSize"] = page_size
    with open(os.path.join(home, ".config", "veldrin", "config.json"), "w") as f:
        json.dump(config, f)
    env = dict(os.environ, HOME=home)
    env.setdefault("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu")
    started = time.monotonic()
    log = open(home + ".log", "w")
    process = subprocess.Popen([args.program], env=env, stdout=log, stderr=subprocess.STDOUT)
    return process, started


def stop(process):
    process.terminate()
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def main_window(screen):
    for w, name, geometry in screen.windows():
        if name == "Veldrin":
            return w
    return None


def measure_main(args, screen, telemetry, results):
    telemetry.clear()
    process, started = launch(args, args.home, args.session_url)
    pid = process.pid
    reader = None
    try:
        window = wait_for(lambda: main_window(screen), 20)
        results["start_mapped_s"] = time.monotonic() - started
        assert window, "no main window"
        wait_for(lambda: screen.has_text(LIST_FIRST_ROW), 30)
        results["start_painted_s"] = time.monotonic() - started
        # Threads fetched ahead go out beside the page, in the background: counted apart.
        calls = [c for _, _, c in telemetry.requests()]
        # So does the first new-mail check, sent once the page has arrived.
        results["start_requests"] = sum(c not in ("Thread/get", NEW_MAIL) for c in calls)
        results["start_read_ahead"] = sum(c == "Thread/get" for c in calls)
        results["start_new_mail_check"] = sum(c == NEW_MAIL for c in calls)
        results["start_calls"] = calls
        settle(pid, telemetry)

        # The first conversation of the session: the web engine starts here.
        screen.key("j")
        results["first_open_main_ms"] = settle_cpu(pid)
        settle(pid, telemetry)
        # Down to the third row, then j and k between two conversations fetched ahead.
        for _ in range(2):
            screen.key("j")
            settle(pid, telemetry)
        reader = Changes(window, READER, probe=lambda: main_thread_ns(pid))

        def time_keys(name, keys):
            """Main-thread time from each key to the reader's change, and to the end of what
            follows; the requests each key sent."""
            shown, total, requests = [], [], []
            for key in keys:
                mark = telemetry.mark()
                reader.mark()
                cpu = main_thread_ns(pid)
                screen.key(key)
                reader.next_change(2)
                shown.append((reader.probed - cpu) / 1e6)
                total.append((main_thread_ns(pid) - cpu) / 1e6 + settle_cpu(pid))
                settle(pid, telemetry)
                requests.append(telemetry.calls(mark))
            results[name + "_shown_main_ms"] = median(shown)
            results[name + "_shown_all_ms"] = shown
            results[name + "_total_main_ms"] = median(total)
            results[name + "_calls"] = max(requests, key=len)

        time_keys("jk", ["j", "k"] * 5)

        # Conversations nobody fetched ahead: ten rows down, four times (the first page holds 50).
        first, painted, uncached_calls = [], [], []
        for _ in range(4):
            mark = telemetry.mark()
            reader.mark()
            pressed = time.monotonic()
            screen.key("Next")
            changed = reader.next_change(5)
            assert changed, "the reader did not change"
            first.append((changed - pressed) * 1000)
            # Painted: the reader's last change before it stays still for 300 ms.
            painted.append((reader.last_change(changed, 0.3) - pressed) * 1000)
            settle(pid, telemetry)
            uncached_calls.append(telemetry.calls(mark))
        results["uncached_first_change_ms"] = median(first)
        results["uncached_open_ms"] = median(painted)
        results["uncached_open_all_ms"] = painted
        results["uncached_calls"] = max(uncached_calls, key=len)

        # Archive with "e", five times: the next conversation (fetched ahead) shows. Then undo
        # each, so that every run meets the same mailbox.
        time_keys("archive", ["e"] * 5)
        for _ in range(5):
            screen.key("z", ("Control_L",))
            settle(pid, telemetry)

        # Reply: a window of its own, the caret in the body.
        mark = telemetry.mark()
        main_focus = screen.focus()
        pressed = time.monotonic()
        screen.key("r")
        wait_for(lambda: any(n.startswith("Re:") or n.startswith("Re ")
                             for _, n, _ in screen.windows()) and screen.focus() != main_focus, 5)
        results["reply_open_ms"] = (time.monotonic() - pressed) * 1000
        settle_cpu(pid)
        time.sleep(1.0)
        results["reply_requests"] = telemetry.count(mark)
        screen.key("w", ("Control_L",))
        settle(pid, telemetry)

        # Idle for a minute, push down (this server has no push stream): the timer refreshes.
        time.sleep(2)
        cpu = tree_cpu_ns(pid)
        time.sleep(args.idle)
        results["idle_push_down_percent"] = cpu_percent(cpu, tree_cpu_ns(pid), args.idle)

        # The 5 MB newsletter, found by search, opened and scrolled.
        screen.key("slash")
        time.sleep(0.2)
        screen.type("Digest #999")
        screen.key("Return")
        settle(pid, telemetry)
        screen.key("Escape")
        sampler = Sampler(pid)
        sampler.start()
        screen.key("j")
        settle(pid, telemetry)
        time.sleep(0.5)
        for _ in range(25):
            screen.key("space")
            time.sleep(0.12)
        settle_cpu(pid, quiet=0.3)
        sampler.running = False
        sampler.join()
        results["newsletter_longest_ms"] = sampler.longest_busy_ms()
    finally:
        if reader:
            reader.close()
        stop(process)


def measure_memory(args, screen, telemetry, results):
    process, _ = launch(args, args.home + "-memory", args.session_url, page_size=200)
    pid = process.pid
    try:
        wait_for(lambda: main_window(screen), 20)
        wait_for(lambda: screen.has_text(LIST_FIRST_ROW), 30)
        settle(pid, telemetry)
        screen.key("j")
        settle(pid, telemetry)
        time.sleep(3)
        results["memory_mb"] = tree_pss_kb(pid) / 1024
        results["memory_by_process_mb"] = sorted(
            (round(tree_pss_kb_of(p) / 1024, 1), comm(p)) for p in process_tree(pid))
    finally:
        stop(process)


def measure_push(args, screen, telemetry, results):
    process, started = launch(args, args.home + "-push", args.proxy_url)
    pid = process.pid
    try:
        wait_for(lambda: main_window(screen), 20)
        assert wait_for(lambda: screen.has_text(LIST_FIRST_ROW), 30), "no list through the proxy"
        results["push_start_painted_s"] = time.monotonic() - started
        settle(pid, telemetry)
        time.sleep(5)
        cpu = tree_cpu_ns(pid)
        mark = telemetry.mark()
        time.sleep(args.idle)
        results["idle_push_live_percent"] = cpu_percent(cpu, tree_cpu_ns(pid), args.idle)
        results["idle_push_live_requests"] = telemetry.count(mark)
    finally:
        stop(process)


def measure_start(args, screen, telemetry, results):
    telemetry.clear()
    process, started = launch(args, args.home, args.session_url)
    try:
        wait_for(lambda: main_window(screen), 20)
        results["start_mapped_s"] = time.monotonic() - started
        wait_for(lambda: screen.has_text(LIST_FIRST_ROW), 30)
        results["start_painted_s"] = time.monotonic() - started
        calls = [c for _, _, c in telemetry.requests()]
        # So does the first new-mail check, sent once the page has arrived.
        results["start_requests"] = sum(c not in ("Thread/get", NEW_MAIL) for c in calls)
        results["start_read_ahead"] = sum(c == "Thread/get" for c in calls)
        results["start_new_mail_check"] = sum(c == NEW_MAIL for c in calls)
        results["start_calls"] = calls
    finally:
        stop(process)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--session-url", required=True)
    parser.add_argument("--proxy-url")
    parser.add_argument("--telemetry", required=True)
    parser.add_argument("--home", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--idle", type=float, default=60)
    parser.add_argument("--start-only", action="store_true")
    parser.add_argument("--parts", default="main,memory,push",
                        help="which launches to measure, of main, memory and push")
    args = parser.parse_args()

    screen = Screen()
    telemetry = Telemetry(args.telemetry)
    results = {}
    if args.start_only:
        measure_start(args, screen, telemetry, results)
    else:
        parts = args.parts.split(",")
        if "main" in parts:
            measure_main(args, screen, telemetry, results)
        if "memory" in parts:
            measure_memory(args, screen, telemetry, results)
        if "push" in parts and args.proxy_url:
            measure_push(args, screen, telemetry, results)
    with open(args.out, "w") as f:
        json.dump(results, f, indent=1)
    print(json.dumps(results))


if __name__ == "__main__":
    main()
