#!/usr/bin/python3
# A test module: appends every call with its arguments to a log ("NAME method port value"), offers
# only the methods it is told, answers readio/writeio with the cells it is told (-2 hands a cell
# back as it came), and can sleep in objectrefresh, exit in it, or call the server back from it.
import argparse
import os
import time

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

IFACE = "ikelvane.module"
opts = argparse.ArgumentParser()
opts.add_argument("name")
opts.add_argument("log")
opts.add_argument("--methods", default="objectinit,objectrefresh,objectterm,readio,writeio")
opts.add_argument("--answer", type=int, nargs=2, default=(-2, -2))
opts.add_argument("--sleep", type=float, default=0)
opts.add_argument("--exit-after", type=int, default=0)
opts.add_argument("--callback", action="store_true")
args = opts.parse_args()
offered = args.methods.split(",")


def log(*parts):
    with open(args.log, "a") as f:
        f.write(" ".join(str(p) for p in (args.name,) + parts) + "\n")


def export(sig=""):
    def wrap(fn):
        if fn.__name__ not in offered:
            return fn
        return dbus.service.method(IFACE, in_signature=sig, out_signature=sig)(fn)
    return wrap


class Module(dbus.service.Object):
    refreshes = 0

    @export()
    def objectinit(self):
        log("objectinit")

    @export()
    def objectrefresh(self):
        log("objectrefresh")
        Module.refreshes += 1
        if Module.refreshes == args.exit_after:
            os._exit(0)
        if args.sleep:
            time.sleep(args.sleep)
            log("objectrefresh done")
        if args.callback:
            server = bus.get_object("ikelvane.server", "/server")
            log("getpc", int(server.getpc(dbus_interface="ikelvane._server")))

    @export()
    def objectterm(self):
        log("objectterm")

    def cells(self, method, port, value):
        log(method, int(port), int(value))
        p, v = args.answer
        return (port if p == -2 else p, value if v == -2 else v)

    @export("ii")
    def readio(self, port, value):
        return self.cells("readio", port, value)

    @export("ii")
    def writeio(self, port, value):
        return self.cells("writeio", port, value)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
Module(bus, "/")
name = dbus.service.BusName(args.name, bus)
print("ready", flush=True)
GLib.MainLoop().run()
