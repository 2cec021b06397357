#!/usr/bin/python3
"""A Kelvane module in Python: a hex keypad and a two-digit seven-segment display.

    IN 10H    the last key pressed (00H-0FH), then FFH until the next key
    OUT 11H   the byte on the display, as two hex digits

It counts the instructions of a run (objectrefresh) and, every 2000th instruction, reads PC and A
back from the running Kelvane through ikelvane.server, from inside objectrefresh.

Run it by hand (python3 keypad.py [BUS.NAME]) or let the session bus start it from its .service
file (see README.md); then put "keypad.display" into a slot of Tools > External Modules.
Needs python3-dbus, python3-gi and gir1.2-gtk-3.0.
"""
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
import gi

gi.require_version("Gtk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402

MODULE = "ikelvane.module"
KEYPORT, DISPLAYPORT = 0x10, 0x11
# Segments a-g of the digits 0-F, bit 0 = a.
SEGMENTS = [0x3F, 0x06, 0x5B, 0x4F, 0x66, 0x6D, 0x7D, 0x07, 0x7F, 0x6F, 0x77, 0x7C, 0x39, 0x5E, 0x79, 0x71]
# Each segment as a bar: x, y, width, height in a 40 x 70 cell.
BARS = [(8, 2, 24, 6), (32, 8, 6, 24), (32, 38, 6, 24), (8, 62, 24, 6), (2, 38, 6, 24), (2, 8, 6, 24), (8, 32, 24, 6)]


class Display(Gtk.DrawingArea):
    def __init__(self):
        super().__init__()
        self.value = None
        self.set_size_request(2 * 56 + 16, 96)
        self.connect("draw", self.draw)

    def show_byte(self, value):
        self.value = value
        self.queue_draw()

    def draw(self, _widget, cr):
        cr.set_source_rgb(0.07, 0.06, 0.05)
        cr.paint()
        for i, digit in enumerate(((self.value or 0) >> 4 & 15, (self.value or 0) & 15)):
            lit = SEGMENTS[digit] if self.value is not None else 0
            for bit, (x, y, w, h) in enumerate(BARS):
                on = lit >> bit & 1
                cr.set_source_rgb(1.0, 0.2, 0.1) if on else cr.set_source_rgb(0.22, 0.08, 0.06)
                cr.rectangle(12 + i * 56 + x, 12 + y, w, h)
                cr.fill()


class Keypad(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, "/")
        self.bus = bus
        self.key = 0xFF
        self.count = 0
        self.registers = ""
        self.window = Gtk.Window(title="Keypad and Display")
        self.window.connect("destroy", Gtk.main_quit)
        box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=8, margin=12)
        self.display = Display()
        box.pack_start(self.display, False, False, 0)
        grid = Gtk.Grid(row_spacing=4, column_spacing=4, column_homogeneous=True)
        for n, label in enumerate("C D E F 8 9 A B 4 5 6 7 0 1 2 3".split()):
            button = Gtk.Button(label=label)
            button.connect("clicked", self.pressed, int(label, 16))
            grid.attach(button, n % 4, n // 4, 1, 1)
        box.pack_start(grid, True, True, 0)
        self.status = Gtk.Label(xalign=0)
        box.pack_start(self.status, False, False, 0)
        self.window.add(box)
        self.window.show_all()
        GLib.timeout_add(100, self.show_status)

    def pressed(self, _button, key):
        self.key = key

    def show_status(self):
        self.status.set_text(f"Instructions: {self.count}   {self.registers}\nKey: "
                             + ("-" if self.key == 0xFF else f"{self.key:X}"))
        return True

    @dbus.service.method(MODULE)
    def objectinit(self):
        self.count = 0
        self.display.show_byte(None)

    @dbus.service.method(MODULE)
    def objectrefresh(self):
        self.count += 1
        if self.count % 2000 == 0:
            server = self.bus.get_object("ikelvane.server", "/server")
            pc = server.getpc(dbus_interface="ikelvane._server")
            a = server.geta(dbus_interface="ikelvane._server")
            self.registers = f"PC={int(pc):04X}H A={int(a):02X}H"

    @dbus.service.method(MODULE)
    def objectterm(self):
        GLib.idle_add(Gtk.main_quit)

    @dbus.service.method(MODULE, in_signature="ii", out_signature="ii")
    def readio(self, port, value):
        if port == KEYPORT:
            value, self.key = self.key, 0xFF
        return port, value

    @dbus.service.method(MODULE, in_signature="ii", out_signature="ii")
    def writeio(self, port, value):
        if port == DISPLAYPORT:
            self.display.show_byte(value & 0xFF)
        return port, value


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    module = Keypad(bus)
    name = dbus.service.BusName(sys.argv[1] if len(sys.argv) > 1 else "keypad.display", bus, do_not_queue=True)
    Gtk.main()
    del module, name


if __name__ == "__main__":
    main()
