# USB MIDI devices on a bus without wires, and what the sequencer says of them.

gadgets=/sys/kernel/config/usb_gadget

# load_midi [DEVICES]: the sequencer and a USB bus for that many devices (1).
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
# for these functions. The kernel makes it, and calls its ports "PRODUCT MIDI 1" and so on.
make_device() {
    local gadget=$gadgets/$1
    mkdir -p "$gadget/strings/0x409" "$gadget/functions/midi.$1" "$gadget/configs/c.1/strings/0x409"
    echo 0x1209 >"$gadget/idVendor"
    echo 0x0001 >"$gadget/idProduct"
    echo "$2" >"$gadget/strings/0x409/product"
    echo "${3-1}" >"$gadget/functions/midi.$1/in_ports"
    echo "${4-1}" >"$gadget/functions/midi.$1/out_ports"
    echo "gadget$1" >"$gadget/functions/midi.$1/id"
    ln -s "$gadget/functions/midi.$1" "$gadget/configs/c.1/"
}

# plug NAME [BUS]: plugs a device into a bus (0) and waits until the sequencer has one more client
# of its product's name.
plug() {
    local product count
    product=$(cat "$gadgets/$1/strings/0x409/product")
    count=$(count_clients "$product")
    echo "dummy_udc.${2-0}" >"$gadgets/$1/UDC"
    await 20 has_clients $((count + 1)) "$product"
}

# unplug NAME: waits until the sequencer's client has gone.
unplug() {
    local product count
    product=$(cat "$gadgets/$1/strings/0x409/product")
    count=$(count_clients "$product")
    echo >"$gadgets/$1/UDC"
    await 20 has_clients $((count - 1)) "$product"
}

# plug_program PRODUCT JACK...: the same with a device whose ports are called "PRODUCT JACK".
plug_program() {
    modprobe gadgetfs
    mkdir -p /dev/gadget
    mount -t gadgetfs g /dev/gadget
    "$KIVO_GUEST/usb-midi-device.py" "$@" &
    await 20 has_clients 1 "$1"
}

# send NAME BYTES...: has a device that the kernel made send bytes, in hexadecimal digits.
send() {
    local name=$1
    shift
    amidi --port "hw:gadget$name,0,0" --send-hex "$*"
}

# clients PRODUCT: the numbers of the sequencer's clients of that name.
clients() {
    sed -n "s/^Client *\([0-9]*\) : \"$1\" .*/\1/p" /proc/asound/seq/clients
}

count_clients() {
    clients "$1" | wc -l
}

has_clients() {
    [ "$(count_clients "$2")" -eq "$1" ]
}

# held_source: the address of the source that the daemon receives from, or nothing.
held_source() {
    sed -n '/^Client .*"KIVO"/,/^Client .*"/ s/.*Connected From: \([0-9:]*\).*/\1/p' \
        /proc/asound/seq/clients
}
