"""module-check finds each fault that is planted in a module, and no fault in sound modules; its options and its pages."""
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
TOOL = os.environ["MODULE_CHECK"]
MODULES = pathlib.Path(os.environ["MODULES"])
LIBRARIES = pathlib.Path(os.environ["LIBRARIES"])
SOUND = MODULES / "sound_module.so"
WRAPPING = MODULES / "wrapping_module.so"
DECODER = LIBRARIES / "svg-decoder.so"
PAGE = ROOT / "docs" / "module-check.md"

# Faults of the file itself: the module that has it, the checks that fail.
FILE_FAULTS = {
    "two_exports": {"file.one-export"},
    "many_exports": {"file.one-export", "file.no-unique-symbol", "unload.unused"},
    "unresolved_symbol": {"file.loads"},
    "executable_stack": {"file.stack"},
    "no_relro": {"file.relro"},
    "lazy_binding": {"file.relro"},
    "stays_loaded": {"file.unloadable", "unload.unused"},
    "absolute_run_path": {"file.run-path"},
}

UUID_REFUSALS = {f"uuid.{name}" for name in ("null", "empty", "missing", "folder", "device", "protocols", "overlong",
                                              "invalid")}
SESSION_ENDS = {"service.create-again", "service.two", "service.release-order", "service.release-thread",
                "service.create-threads", "service.table-texts", "service.states-later", "init.no-keys", "init.again",
                "init.copies", "session.create"}

# Faults that the environment chooses: the checks that fail.
FAULTS = {
    # the table
    "null-table": {"table.told"},
    "false-answer": {"table.told"},
    "null-argument": {"table.null-arguments"},
    "null-argument-answer": {"table.null-arguments"},
    "half-written": {"table.null-arguments"},
    "new-table": {"table.same-again", "table.threads", "service.manager"},
    "null-name": {"table.names", "service.manager"},
    "line-in-name": {"table.names"},
    "empty-description": {"table.descriptions"},
    "lower-case-uuid": {"table.uuids"},
    "no-uuid": {"table.uuids", "service.manager"},
    "same-uuid": {"table.unique-ids", "service.manager"},
    "wrong-uuid": {"table.known-ids"},
    "reserved-word": {"table.reserved-words"},
    "null-create": {"table.create-functions", "service.create"},
    "null-release": {"table.release-functions", "service.create"},
    "changing-text": {"service.table-texts"},
    # init functions
    "null-configuration": {"init.null"},
    "refusing-init": {"service.create"},
    "reserved-call": {"init.asks"},
    "reserved-argument": {"init.asks"},
    # services
    "abort": {"service.create"},
    "exit": {"service.create"},
    "create-once": {"service.create"},
    "one-service": {"service.two", "service.release-order", "service.manager", "session.destroy-other"},
    "release-null": {"service.release-null"},
    "service-leak": {"service.memory"},
    "first-state": {"service.first-state", "service.states-later"},
    "second-state": {"service.second-state", "service.states-later"},
    "final-query": {"service.final-query", "service.states-later"},
    "null-result": {"service.null-results"},
    "result-left": {"service.keyed-query"},
    "exception": {"service.null-results", "service.keyed-request"},
    # sessions
    "double-free": SESSION_ENDS,
    "null-session": {"session.destroy-null"},
    "foreign-session": {"session.destroy-foreign", "session.destroy-other", "session.memory", "session.memory-used",
                        "shared.memory"},
    "same-answer": {"session.destroy-null", "session.destroy-foreign", "session.destroy-other"},
    "one-session": {"session.destroy-other", "session.many", "session.order", "session.independent"},
    "session-leak": {"session.memory", "session.memory-used", "shared.memory"},
    "shared-owner": {"shared.one-owner", "shared.last-owner", "shared.memory", "shared.release"},
    "release-kept": {"shared.release", "shared.release-foreign"},
    # the process
    "print": {"process.silent"},
    "close-output": {"process.standard-streams"},
    "signal-handler": {"process.signal-handlers"},
    "signal-mask": {"process.signal-mask"},
    "locale": {"process.locale"},
    "environment": {"process.environment"},
    "folder": {"process.folder"},
    "umask": {"process.umask"},
    "child": {"process.children"},
    "thread": {"service.memory", "unload.threads"},
    "descriptor": {"unload.descriptors"},
    "load-leak": {"unload.memory"},
    # the media UUID service
    "out-written": UUID_REFUSALS | {"uuid.gaps"},
    "null-url": {"uuid.null"},
    "no-cache": {"uuid.lasting-text", "uuid.computed-once"},
    "text-of-session": {"uuid.lasting-text", "uuid.computed-once"},
    "wrong-digest": UUID_REFUSALS | {f"uuid.{name}" for name in ("text", "empty-file", "uuid", "lasting-text",
                                                                 "computed-once", "sequence", "threads")},
}

MEDIA_REFUSALS = {f"media.{name}" for name in ("empty", "missing", "folder", "device", "pipe", "empty-file", "text",
                                               "picture", "drawing", "protocols", "overlong", "invalid")}
IMAGE_REFUSALS = {f"image.{name}" for name in ("empty", "plain-path", "protocols", "missing", "folder", "empty-file",
                                               "text", "overlong", "invalid")}
SVG_REFUSALS = {f"svg.{name}" for name in ("empty", "missing", "folder", "protocols", "text", "picture", "overlong",
                                           "invalid")}

# Faults in the query interfaces of services that are sound otherwise: the checks that fail of those below.
INTERFACE_CHECKS = ("media*", "store.*", "image.*", "svg.*", "decoder.*", "session.interface", "session.destroy-*",
                    "shared.interface", "service.keyed-*")
INTERFACE_FAULTS = {
    "no-interface": {"session.interface", "shared.interface", "media.interface", "store.given", "image.interface",
                     "svg.interface", "decoder.interface"},
    "refusal": {"session.destroy-null", "session.destroy-foreign"},
    "request-answer": {"service.keyed-request"},
    # media files
    "media-null-url": {"media.null", "media.once"},
    "media-descriptor": {"media.descriptors"},
    "media-length": {"media.overlong"},
    "media-copy": {"media.extension-case"},
    "media-url-changed": {"media.url-kept", "media.extension-case"},
    "media-result": MEDIA_REFUSALS | {"media.null", "media-file.cut"},
    "media-null-name": {"media.closed", "media.stays-closed", "media.once", "media-file.format", "media-file.clone",
                        "media-file.threads"},
    "media-new-store": {"media-file.store"},
    "media-duration": {"media-file.duration"},
    "media-size": {"media-file.size"},
    "program-out-written": {"media.closed", "media.stays-closed", "media-file.programs-end"},
    "program-last": {"media.closed", "media.stays-closed", "media-file.programs-end"},
    "program-new": {"media-file.programs"},
    "stream-kind": {"media-file.stream-kinds", "media-file.sound"},
    "stream-constant": {"media-file.stream-constants"},
    "stream-store": {"media-file.stream-stores"},
    "stream-null-text": {"media-file.stream-texts"},
    "stream-out-written": {"media-file.streams-end"},
    "stream-type-written": {"media.stream-type", "media-file.stream-type"},
    "dates-written": {"media.closed", "media.stays-closed", "media-file.no-dates"},
    "clone-null-answer": {"media.clone-closed"},
    "clone-leak": {"media-file.clone-memory"},
    # metadata stores
    "store-null-key": {"store.no-key"},
    "store-out-written": {"store.unknown-key", "store.no-key"},
    "store-no-throw": {"store.bad-dates"},
    "store-date-own-key": {"store.date-keys"},
    "store-first-wins": {"store.numbers", "store.replace", "store.boxes"},
    "store-takes-empty-key": {"store.set-no-key"},
    "store-leak": {"store.memory"},
    # images
    "image-old-store": {"image.failure", "image.fresh-stores"},
    "image-always-true": IMAGE_REFUSALS,
    "image-size-reset": {"image.failure"},
    "image-no-duration": {"image.duration", "image.sequence"},
    "image-zero-rate": {"image.frame-rate"},
    "image-second": {"image.failure", "image.picture", "image.again", "image.sequence", "image.threads"},
    "image-reserved": {"image.reserved"},
    # SVGs
    "svg-same-again": {"svg.same-again"},
    "svg-out-written": SVG_REFUSALS | {"svg.new", "svg.no-decoder", "svg.null"},
    "svg-view": {"svg.drawing", "svg.size-kept"},
    "svg-render": {"svg.no-decoder", "svg.render-unloaded"},
    "svg-height": {"svg.size-kept"},
    "sink-no-reset": {"decoder.reset"},
    "sink-borrows": {"decoder.source-copied"},
    "sink-always-loads": {"decoder.no-source", "decoder.refused", "decoder.overlong", "decoder.reset"},
    "sink-reserved": {"decoder.reserved"},
    "sink-out-written": {f"decoder.{name}" for name in ("new", "no-source", "refused", "overlong", "failure", "reset")},
    "sink-render-nowhere": {"decoder.render-nowhere"},
}


def planted_in(source):
    """The faults that a module's source asks for."""
    text = (pathlib.Path(__file__).parent / source).read_text(encoding="utf-8")
    return set(re.findall(r'Has\("([^"]+)"\)', text)) | set(re.findall(r'^    \{"([a-z-]+)",', text, re.M))


def run(*words, fault=None):
    environment = {name: value for name, value in os.environ.items() if name != "MODULE_FAULT"}
    environment["WRAPPED_MODULES"] = str(LIBRARIES)
    if fault:
        environment["MODULE_FAULT"] = fault
    return subprocess.run([TOOL, *map(str, words)], capture_output=True, text=True, env=environment, timeout=300)


def report(*words, fault=None):
    done = run("--json", "--timeout", 60, *words, fault=fault)
    if done.stderr:
        raise AssertionError(f"{words}: {done.stderr}")
    return json.loads(done.stdout), done.returncode


def failed(told):
    return {entry["id"] for entry in told["results"] if entry["status"] == "failed"}


# Several threads meet a fault in what they share, or miss it, as chance has it, where one thread alone always meets it.
BY_CHANCE = {f"{area}.threads" for area in ("session", "shared", "media-file", "image", "svg", "uuid", "decoder")} | {
    "service.create-threads"}


class Faults(unittest.TestCase):
    def check_all(self, faults, words_of, is_planted=True):
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            runs = {fault: pool.submit(report, "-j", 2, *words_of(fault), fault=fault if is_planted else None)
                    for fault in faults}
        for fault, expected in faults.items():
            with self.subTest(fault=fault):
                told, status = runs[fault].result()
                self.assertEqual(failed(told) - (BY_CHANCE - expected), expected)
                self.assertEqual((told["failed"], status), (len(failed(told)), 1))

    def test_each_fault_of_the_file_fails_its_checks_and_no_others(self):
        self.check_all(FILE_FAULTS, lambda fault: [MODULES / f"{fault}.so"], is_planted=False)

    def test_each_fault_of_the_code_fails_its_checks_and_no_others(self):
        self.check_all(FAULTS, lambda fault: [SOUND])

    def test_each_fault_of_an_interface_fails_its_checks_and_no_others(self):
        only = [word for pattern in INTERFACE_CHECKS for word in ("--only", pattern)]
        self.check_all(INTERFACE_FAULTS, lambda fault: [*only, "--with", DECODER, WRAPPING])

    def test_every_planted_fault_is_known_here(self):
        self.assertEqual(planted_in("test_module.cc") - {"hang"}, set(FAULTS))
        self.assertEqual(planted_in("wrapping_module.cc") - {"media-pipe"}, set(INTERFACE_FAULTS))

    def test_a_hang_is_told_as_such_and_keeps_no_other_check_waiting(self):
        done = run("--timeout", 2, SOUND, fault="hang")
        self.assertEqual(done.returncode, 1)
        self.assertIn("FAILED  service.create: ", done.stdout)
        self.assertIn("no answer within 2 s, at service 0 (test/plain)\n", done.stdout)
        self.assertRegex(done.stdout, r"\d+ checks, 1 failed, \d+ not run\n$")

    def test_waiting_for_a_pipe_is_found(self):
        done = run("--timeout", 2, "--only", "media.pipe", WRAPPING, fault="media-pipe")
        self.assertIn("FAILED  media.pipe: ", done.stdout)
        self.assertIn("no answer within 2 s, at ", done.stdout)

    def test_a_crash_is_told_with_its_signal_and_its_place(self):
        done = run("--only", "session.destroy-null", SOUND, fault="null-session")
        self.assertIn("the process was killed by SIGSEGV (Segmentation fault), at service 0 (test/plain)", done.stdout)
        self.assertEqual(done.returncode, 1)

    def test_an_exception_is_told_with_its_words(self):
        done = run("--only", "service.keyed-request", SOUND, fault="exception")
        self.assertIn("an exception came out of the module: no such request", done.stdout)

    def test_names_of_a_module_do_not_begin_lines(self):
        done = run("-v", "--only", "table.names", SOUND, fault="line-in-name")
        self.assertIn(r"service 0 (test\x0aplain): the name holds a control character", done.stdout)


class SoundModules(unittest.TestCase):
    def check_sound(self, module, least, *words):
        told, status = report(*words, module)
        faults = [entry for entry in told["results"] if entry["status"] == "failed"]
        self.assertEqual((failed(told), told["not_run"], status), (set(), 0, 0), faults)
        self.assertGreaterEqual(told["checks"], least)
        self.assertEqual(len([entry for entry in told["results"] if entry["status"] == "passed"]), told["checks"])

    def test_the_sound_variant_of_the_faulty_module(self):
        self.check_sound(SOUND, 100)

    def test_the_media_information_module(self):
        self.check_sound(LIBRARIES / "service-mediainfo.so", 200)

    def test_the_svg_decoder(self):
        self.check_sound(DECODER, 100)

    def test_the_wrapping_variant_of_both(self):
        self.check_sound(WRAPPING, 200, "--with", DECODER)

    def test_another_media_file(self):
        for name in ("upright.mp4", "languages.mkv", "programs.ts"):
            with self.subTest(sample=name):
                self.check_sound(LIBRARIES / "service-mediainfo.so", 30, "--sample", ROOT / "samples" / name, "--only",
                                 "media*")


class CommandLine(unittest.TestCase):
    def check_refused(self, reason, *words):
        done = run(*words)
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertTrue(done.stderr.startswith("module-check: ") and done.stderr.count("\n") == 1, done.stderr)
        self.assertIn(reason, done.stderr)

    def test_wrong_usage_is_refused(self):
        self.check_refused("no module")
        self.check_refused("choose one of --list and a module", "--list", SOUND)
        self.check_refused(f"choose one of {SOUND} and {DECODER} (", SOUND, DECODER)
        for option in ("--no-such-option", "-x"):
            self.check_refused(f": there is no option {option} (", option, SOUND)
        for option in ("--sample", "--with", "--only", "--timeout", "--jobs"):
            self.check_refused(f": {option} needs a value (", SOUND, option)
        for option, value in (("--sample", PAGE), ("--timeout", 5), ("--jobs", 2)):
            self.check_refused(f": {option} is given twice (", option, value, option, value, SOUND)
        for option in ("--verbose", "--json", "--list"):
            self.check_refused(f": {option} takes no value (", f"{option}=no", SOUND)
        for value in (0, 257, "abc", "2x", "0x10", ""):
            self.check_refused(f": --jobs: '{value}' is not a whole number from 1 to 256 (", "-j", value, SOUND)
        for value in (0, 1000001, "nan", "inf", "abc", "5s"):
            self.check_refused(f": --timeout: '{value}' is not a number from 0.001 to 1000000 (", "--timeout", value,
                               SOUND)
        self.check_refused("no check has such an id", "--only", "tables.*", SOUND)

    def test_what_is_no_module_is_refused(self):
        self.check_refused("no such file", MODULES / "missing.so")
        self.check_refused("not a regular file", MODULES)
        self.check_refused("not a module: not a shared object", PAGE)
        self.check_refused("no such file", "--with", MODULES / "missing.so", SOUND)
        self.check_refused("no such file", "--sample", MODULES / "missing.wav", SOUND)

    def test_damaged_modules_are_refused_or_fail_to_load(self):
        whole = SOUND.read_bytes()
        with tempfile.TemporaryDirectory() as folder:
            for length in (4, 16, 64, 1000, len(whole) // 2, len(whole) - 100):
                path = pathlib.Path(folder) / "cut.so"
                path.write_bytes(whole[:length])
                self.check_refused("not a module: ", path)

    def test_a_shared_object_without_the_entry_fails_its_checks(self):
        told, _ = report(LIBRARIES / "libMediaServer.so")
        self.assertLessEqual({"file.entry", "file.one-export", "file.loads"}, failed(told))

    def test_only_runs_what_matches_and_the_gates_before_it(self):
        told, _ = report("--only", "uuid.text", "--only", "table.n*", SOUND)
        self.assertEqual([entry["id"] for entry in told["results"]],
                         ["file.shared-object", "file.loads", "table.told", "table.null-arguments", "table.names",
                          "service.create", "session.create", "uuid.interface", "uuid.text"])

    def test_list_and_verbose_name_the_same_checks(self):
        listed = [line.split("\t") for line in run("--list").stdout.splitlines()]
        self.assertEqual(len({row[0] for row in listed}), len(listed))
        self.assertGreaterEqual(len(listed), 100)
        self.assertTrue(all(len(row) == 2 and row[1] for row in listed))
        verbose = run("--verbose", SOUND).stdout.splitlines()
        told = [re.match(r"(?:ok     |n/a    ) (\S+): (.*)", line).groups() for line in verbose[:-1]]
        self.assertEqual(told, [tuple(row) for row in listed])

    def test_nothing_is_left_in_the_temporary_folder(self):
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run([TOOL, str(SOUND)], env={**os.environ, "TMPDIR": folder}, capture_output=True,
                                  text=True, timeout=300)
            self.assertEqual((done.returncode, os.listdir(folder)), (0, []))


class Pages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.options = set(re.findall(r"(?<![\w-])(--?\w[\w-]*)(?=[, \n])", "\n".join(
            line[:27] for line in run("--help").stdout.splitlines() if line.startswith("  -"))))

    def test_the_help_was_understood(self):
        self.assertLessEqual({"-j", "--jobs", "--json", "--list", "-v", "--only", "--sample", "--version"}, self.options)

    def test_the_page_has_every_option_and_every_area(self):
        page, json_section = PAGE.read_text(encoding="utf-8").split("## The JSON object")
        told = [[{text.split()[0] for text in re.findall(r"`([^`]+)`", line.split(" | ")[0])}
                 for line in part.splitlines() if line.startswith("| `")] for part in (page, json_section)]
        areas = {line.split(".")[0] + "." for line in run("--list").stdout.splitlines()}
        self.assertEqual(set().union(*told[0]), self.options | areas | {"0", "1", "2"})
        self.assertEqual(set().union(*told[1]), set(report("--only", "file.*", SOUND)[0]))


if __name__ == "__main__":
    unittest.main()
