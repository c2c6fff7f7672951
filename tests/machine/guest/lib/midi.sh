# shellcheck shell=bash
# USB MIDI devices, made by the kernel's own gadget function on a bus without wires.

# load_midi [CONTROLLERS]: the sequencer and a USB bus for that many devices (1).
load_midi() {
    modprobe -a snd-seq snd-seq-midi libcomposite usb_f_midi snd-usb-audio
    modprobe dummy_hcd num="${1-1}"
    mount -t configfs c /sys/kernel/config
    open_sound
}

# What the system's rules for devices do: the group audio may use them.
open_sound() {
    chgrp audio /dev/snd/*
    chmod 660 /dev/snd/*
}

# make_device NAME PRODUCT [SOURCES [DESTINATIONS]]: a device that is not plugged in yet; NAME is
# for these functions.
make_device() {
    local gadget=/sys/kernel/config/usb_gadget/$1
    mkdir -p "$gadget/strings/0x409" "$gadget/functions/midi.0" "$gadget/configs/c.1/strings/0x409"
    echo 0x1209 >"$gadget/idVendor"
    echo 0x0001 >"$gadget/idProduct"
    echo "$2" >"$gadget/strings/0x409/product"
    echo "${3-1}" >"$gadget/functions/midi.0/in_ports"
    echo "${4-1}" >"$gadget/functions/midi.0/out_ports"
    echo "gadget$1" >"$gadget/functions/midi.0/id"
    ln -s "$gadget/functions/midi.0" "$gadget/configs/c.1/"
}
