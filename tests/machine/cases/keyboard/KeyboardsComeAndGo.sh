# qemu: -device qemu-xhci,id=xhci
# A keyboard that is plugged in while keys are forwarded is held too; one that is unplugged with a
# key down releases it, and works again when it comes back.
load_keyboards
start_session
unplug_keyboards
