"""Pictures of every format, made by several encoders: the record holds the size and kind that were asked for."""
import collections
import pathlib
import shutil
import tempfile
import unittest

import image_cases
import maker
import tool


class Made:
    """The records of this run by the file's name; where there is none, why."""
    records = {}


def make_inputs(folder):
    size = f"{image_cases.WIDTH}x{image_cases.HEIGHT}"
    source = ["-f", "lavfi", "-i", f"testsrc=size={size}:rate=10"]
    # A picture with every alpha there is, from the left to the right.
    fade = ["-vf", "format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='255*X/W'"]
    maker.run_ffmpeg("rgb.png", [*source, "-frames:v", "1", "-pix_fmt", "rgb24"], folder)
    maker.run_ffmpeg("rgba.png", [*source, *fade, "-frames:v", "1"], folder)
    maker.run_ffmpeg("input.exr", [*source, "-frames:v", "1", "-pix_fmt", "gbrpf32le"], folder)
    maker.run_ffmpeg("frame%d.png", [*source, "-vf", "negate=enable='eq(n,1)'", "-frames:v",
                                     str(len(image_cases.FRAMES)), "-pix_fmt", "rgb24"], folder)
    maker.run_ffmpeg("frames.apng", ["-framerate", "10", "-i", "frame%d.png", "-plays", "0"], folder)


def examine(folder, case):
    maker.run(case.command, folder)
    try:
        return tool.record_of(folder / case.name)
    except AssertionError as failure:
        return failure


def setUpModule():
    folder = pathlib.Path(tempfile.mkdtemp(prefix="image-sizes-"))
    unittest.addModuleCleanup(shutil.rmtree, folder)
    make_inputs(folder)
    records = maker.in_parallel(lambda case: examine(folder, case), image_cases.CASES)
    Made.records = {case.name: record for case, record in zip(image_cases.CASES, records)}


class ImageSizes(unittest.TestCase):
    def test_facts_that_were_asked_for(self):
        for case in image_cases.CASES:
            with self.subTest(name=case.name):
                record = Made.records[case.name]
                if isinstance(record, AssertionError):
                    self.fail(str(record))
                self.assertEqual(record["service"], "image")
                answers = {**record, **record["metadata"]}
                self.assertEqual({key: answers.get(key) for key in case.facts}, case.facts)

    def test_formats_have_two_encoders_where_there_are_two(self):
        encoders = collections.defaultdict(set)
        for case in image_cases.CASES:
            encoders[case.format].add(case.encoder)
        self.assertEqual({name for name, programs in encoders.items() if len(programs) < 2}, image_cases.ONE_ENCODER)


if __name__ == "__main__":
    unittest.main()
