"""Media files of any length that say no more than a sample does."""
import pathlib
import subprocess

SAMPLES = pathlib.Path(__file__).resolve().parents[1] / "samples"


def write_long_mp4(path, size, index_first):
    """A sample with its media data prolonged by a hole to `size` bytes: the same movie box, whatever the size."""
    sample = (SAMPLES / ("upright.mp4" if index_first else "hdr.mov")).read_bytes()
    media = sample.index(b"mdat") - 4
    with open(path, "wb") as file:
        if index_first:
            # A media data box of size 0 reaches to the end of the file.
            file.write(sample[:media] + bytes(4) + sample[media + 4:])
            file.truncate(size)
            return
        # The empty box in front of the media data is there to be overwritten by a 64-bit size.
        movie = sample.index(b"moov") - 4
        header = (1).to_bytes(4, "big") + b"mdat" + (size - len(sample) + movie - media + 8).to_bytes(8, "big")
        file.write(sample[:media - 8] + header + sample[media + 8:movie])
        file.seek(size - (len(sample) - movie))
        file.write(sample[movie:])


def write_repeated(path, sample, size):
    """A sample's packets over and over, with times that go on. Wants ffmpeg."""
    times = size // (SAMPLES / sample).stat().st_size
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-stream_loop", str(times), "-i", SAMPLES / sample, "-map", "0:v",
                    "-map", "0:a?", "-c", "copy", path], check=True, stdin=subprocess.DEVNULL)
