#!/usr/bin/env python3
"""A USB MIDI device made by a program: its jacks can be named, which the kernel's own cannot.

    usb-midi-device.py PRODUCT JACK...     plugged in until it is ended

Each jack is a port for both directions; the system calls it "PRODUCT JACK". One such device can be
plugged in at a time. Needs the kernel's gadgetfs, mounted at /dev/gadget.
"""

import os
import struct
import sys

FOLDER = "/dev/gadget"
STRING_LANGUAGES, STRING_PRODUCT, STRING_FIRST_JACK = 0, 1, 2
SETUP = 3  # the event of gadgetfs
# Descriptors, as USB 2.0 and the USB MIDI class 1.0 number them.
DEVICE, CONFIGURATION, STRING, INTERFACE, ENDPOINT, CLASS_INTERFACE, CLASS_ENDPOINT = (
    1, 2, 3, 4, 5, 0x24, 0x25)
GET_DESCRIPTOR, SET_CONFIGURATION = 6, 9
IN_ADDRESS, OUT_ADDRESS = 0x81, 0x02
EMBEDDED, EXTERNAL = 1, 2


def descriptor(kind, *contents):
    """A descriptor of a kind: its length, the kind and the bytes given, words of two as a tuple."""
    body = b"".join(struct.pack("<H", part[0]) if isinstance(part, tuple) else bytes([part])
                    for part in contents)
    return bytes([len(body) + 2, kind]) + body


def jacks(number, name):
    """What makes up one port: a jack outside and one inside for each direction."""
    first = 4 * number + 1
    in_inside, in_outside, out_inside, out_outside = range(first, first + 4)
    return (descriptor(CLASS_INTERFACE, 2, EMBEDDED, in_inside, name)
            + descriptor(CLASS_INTERFACE, 2, EXTERNAL, in_outside, name)
            + descriptor(CLASS_INTERFACE, 3, EMBEDDED, out_inside, 1, in_outside, 1, name)
            + descriptor(CLASS_INTERFACE, 3, EXTERNAL, out_outside, 1, in_inside, 1, name))


def endpoint(address):
    return descriptor(ENDPOINT, address, 2, (64,), 0)


def midi_endpoint(address, inside):
    """An endpoint as the audio class has it, and the jacks that it serves."""
    return (descriptor(ENDPOINT, address, 2, (64,), 0, 0, 0)
            + descriptor(CLASS_ENDPOINT, 1, len(inside), *inside))


def configuration(count):
    """One configuration: an audio control interface and a MIDI one with `count` ports."""
    ports = b"".join(jacks(number, STRING_FIRST_JACK + number) for number in range(count))
    endpoints = (midi_endpoint(OUT_ADDRESS, [4 * number + 1 for number in range(count)])
                 + midi_endpoint(IN_ADDRESS, [4 * number + 3 for number in range(count)]))
    control = (descriptor(INTERFACE, 0, 0, 0, 1, 1, 0, 0)
               + descriptor(CLASS_INTERFACE, 1, (0x100,), (9,), 1, 1))
    midi = (descriptor(INTERFACE, 1, 0, 2, 1, 3, 0, 0)
            + descriptor(CLASS_INTERFACE, 1, (0x100,), (7 + len(ports) + len(endpoints),))
            + ports + endpoints)
    total = 9 + len(control) + len(midi)
    return descriptor(CONFIGURATION, (total,), 2, 1, 0, 0x80, 50) + control + midi


def device():
    return descriptor(DEVICE, (0x200,), 0, 0, 0, 64, (0x1209,), (0x0001,), (0x0100,),
                      0, STRING_PRODUCT, 0, 1)


def text(index, product, names):
    """The string descriptor of an index."""
    if index == STRING_LANGUAGES:
        return descriptor(STRING, (0x409,))
    words = product if index == STRING_PRODUCT else names[index - STRING_FIRST_JACK]
    return descriptor(STRING, *words.encode("utf-16-le"))


def answer(control, request, product, names):
    """Answers one request of the host; what is not known is refused."""
    kind, code, value, _, length = struct.unpack("<BBHHH", request)
    if (kind, code, value >> 8) == (0x80, GET_DESCRIPTOR, STRING):
        os.write(control, text(value & 0xFF, product, names)[:length])
    elif code == SET_CONFIGURATION:
        for name, address in (("ep1in-bulk", IN_ADDRESS), ("ep2out-bulk", OUT_ADDRESS)):
            # Kept open: the endpoints are those of the configuration from now on.
            os.write(os.open(f"{FOLDER}/{name}", os.O_RDWR),
                     struct.pack("<I", 1) + endpoint(address))
        os.read(control, 0)
    elif kind & 0x80:
        os.read(control, 0)
    else:
        os.write(control, b"")


def main():
    product, names = sys.argv[1], sys.argv[2:]
    control = os.open(f"{FOLDER}/dummy_udc", os.O_RDWR)
    os.write(control, struct.pack("<I", 0) + configuration(len(names)) + device())
    while True:
        event = os.read(control, 12)
        if struct.unpack("<I", event[8:])[0] == SETUP:
            try:
                answer(control, event[:8], product, names)
            except OSError:
                pass  # the way in which gadgetfs tells that the request was refused


main()
