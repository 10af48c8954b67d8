"""Hostile files made of good ones. The same number gives the same file, on every machine."""
import gzip
import pathlib
import random

import containers

SAMPLES = pathlib.Path(__file__).resolve().parents[2] / "samples"
CUTS = 200
LARGEST = 1 << 20
SEED = 20261121

DRAWING = (b'<?xml version="1.0"?>\n<!DOCTYPE svg [<!ENTITY a "10"><!ENTITY b "&a;&a;">]>\n'
           b'<svg xmlns="http://www.w3.org/2000/svg" width="4in" height="30%" viewBox="0 0 &b; 300">'
           b'<style>rect { fill: url(#g) }</style><defs><g id="g"><rect width="&a;" height="2em"/></g></defs>'
           b'<use href="#g" x="5"/><!-- a comment --><text>words<![CDATA[ & more ]]></text></svg>\n')


def sources():
    """The files that mutations start from: name and bytes, in a fixed order."""
    files = [path for folder in (SAMPLES, SAMPLES / "pictures") for path in sorted(folder.iterdir())
             if path.is_file() and path.suffix not in ("", ".md")]
    return [(path.name, path.read_bytes()) for path in files] + [
        ("drawing.svg", DRAWING), ("drawing.svgz", gzip.compress(DRAWING, mtime=0))]


def flip_bits(chance, data, _):
    """Up to 64 bits turned; more of them near the start and the end, where headers are."""
    changed = bytearray(data)
    for _ in range(1 << chance.randrange(7)):
        near = min(len(data), 1500)
        at = chance.choice((chance.randrange(near), len(data) - 1 - chance.randrange(near), chance.randrange(len(data))))
        changed[at] ^= 1 << chance.randrange(8)
    return bytes(changed)


def splice(chance, data, others):
    """The beginning of one file and the end of another, or a piece of it in the middle."""
    other = chance.choice(others)
    head, begin = chance.randrange(len(data)), chance.randrange(len(other))
    if chance.random() < 0.5:
        return data[:head] + other[begin:]
    end = min(len(other), begin + chance.randrange(1, 20000))
    return data[:head] + other[begin:end] + data[head:]


def nest_again(chance, data, others):
    """Boxes moved into others, wrapped many times in one another, repeated, taken out or exchanged with those of another
    file. All sizes are right."""
    family = containers.family_of(data)
    if family is None:
        return splice(chance, data, others)
    boxes = containers.parse(family, data)
    for _ in range(chance.randint(1, 4)):
        box, siblings = chance.choice(list(containers.descendants(boxes)))
        masters = [other for other, _ in containers.descendants(boxes) if other.children is not None]
        action = chance.randrange(5)
        if action == 0 and masters:
            target = chance.choice(masters)
            target.children.insert(chance.randint(0, len(target.children)), box.copy())
        elif action == 1 and masters:
            shell = chance.choice(masters)
            wrapped = box.copy()
            for _ in range(chance.choice((1, 5, 30, 200))):
                wrapped = containers.Box(shell.name, shell.front, [wrapped])
            siblings[chance.randrange(len(siblings))] = wrapped
        elif action == 2:
            size = len(containers.serialise(family, [box])) + 1
            siblings.extend(box.copy() for _ in range(min(chance.choice((1, 10, 1000, 20000)), LARGEST // size)))
        elif action == 3:
            siblings.remove(box)
            if not boxes:
                return data
        else:
            relatives = [other for other in others if containers.family_of(other) is family]
            taken = chance.choice(list(containers.descendants(containers.parse(family, chance.choice(relatives)))))[0]
            siblings.insert(chance.randint(0, len(siblings)), taken)
    return containers.serialise(family, boxes)[:2 * LARGEST]


def set_fields(chance, data, _):
    """Sizes and counts made 0, -1 or the largest positive number."""
    places = containers.places(data)
    changed = bytearray(data)
    for _ in range(chance.choice((1, 1, 1, 2, 4))):
        place = chance.choice(places)
        bits = 8 * place.width
        value = chance.choice((0, (1 << bits) - 1, (1 << bits - 1) - 1))
        if place.is_ebml_size:  # all ones is the unknown size, one less the largest
            bits = 7 * place.width
            value = 1 << bits | chance.choice((0, (1 << bits) - 1, (1 << bits) - 2))
        changed[place.offset:place.offset + place.width] = value.to_bytes(
            place.width, "big" if place.big_endian else "little")
    return bytes(changed)


RANDOM_KINDS = (flip_bits, splice, nest_again, set_fields)


class Mutations:
    """All files by number: first every cut of every source, then the random kinds in turn."""

    def __init__(self, seed=SEED):
        self.sources = sources()
        self.seed = seed
        self.cuts = [(index, cut) for index in range(len(self.sources)) for cut in range(CUTS)]

    def make(self, number):
        """Kind, name of the source, and bytes of a file."""
        if number < len(self.cuts):
            index, cut = self.cuts[number]
            name, data = self.sources[index]
            return "cut", name, data[:len(data) * cut // CUTS]
        chance = random.Random(f"{self.seed}-{number}")
        kind = RANDOM_KINDS[number % len(RANDOM_KINDS)]
        name, data = chance.choice(self.sources)
        return kind.__name__, name, kind(chance, data, [other for _, other in self.sources])

    def numbers(self, count):
        """`count` files of all kinds: the cuts are as many of them as they are of 20,000."""
        cuts = min(len(self.cuts), max(1, count * len(self.cuts) // 20000))
        chosen = random.Random(self.seed).sample(range(len(self.cuts)), cuts)
        return sorted(chosen) + list(range(len(self.cuts), len(self.cuts) + count - cuts))
