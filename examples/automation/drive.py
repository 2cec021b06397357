#!/usr/bin/python3
"""Drives a running Kelvane through its automation server ikelvane.server (python3-dbus).

It writes a small program with setmem (a loop that unmasks RST 7.5, and an interrupt routine
at 003CH that counts in memory), reads it back with getmem, presses RESET so that the program
runs from 0000H, presses RST 7.5 three times and reports what the machine shows with getpc,
getinst, geta and getclockcycles. Start a simulation in Kelvane first, at any rate from Slow to
Ultimate: the buttons act only while they are enabled, as on the panel.

    python3 drive.py
"""
import time

import dbus

# 0000: EI / MVI A,08H / SIM / loop: NOP / JMP loop      (RST 7.5 unmasked, interrupts on)
# 003C: LXI H,0100H / INR M / EI / RET                     (counts the interrupts at 0100H)
PROGRAM = {0x0000: [0xFB, 0x3E, 0x08, 0x30, 0x00, 0xC3, 0x04, 0x00],
           0x003C: [0x21, 0x00, 0x01, 0x34, 0xFB, 0xC9]}

server = dbus.Interface(dbus.SessionBus().get_object("ikelvane.server", "/server"), "ikelvane._server")
for address, data in PROGRAM.items():
    for offset, byte in enumerate(data):
        server.setmem(address + offset, byte)
written = [int(server.getmem(a + i)) for a, data in PROGRAM.items() for i in range(len(data))]
print("written and read back:", " ".join(f"{b:02X}" for b in written))
server.setmem(0, 256)    # out of range: does nothing, says nothing
print("out of range: getmem(65536) =", int(server.getmem(65536)), " setmem(0, 256) leaves",
      f"{int(server.getmem(0)):02X}H")

server.i8085reset()     # PC to 0000H: the program above runs
time.sleep(1.0)          # the panel holds RESET for half a second
before = int(server.getmem(0x0100))
for _ in range(3):
    server.i8085rst75()
    time.sleep(0.3)
print(f"RST 7.5 pressed 3 times: the counter at 0100H went from {before} to {int(server.getmem(0x0100))}")
print(f"PC={int(server.getpc()):04X}H  instruction: {server.getinst()}  A={int(server.geta()):02X}H  "
      f"clock cycles: {int(server.getclockcycles())}  halted: {int(server.gethalt())}  "
      f"crystal: {int(server.getcrystal())} MHz")
