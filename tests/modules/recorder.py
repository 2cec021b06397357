#!/usr/bin/python3
# A test module: logs each call with its arguments ("NAME method port value"), offers only the
# methods it is told, answers the cells as told (-2 hands a cell back as it came), and can sleep
# in, exit from or call the server back from objectrefresh.
import os
import sys
import time

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

name, logpath, *options = sys.argv[1:]  # then methods=A,B answer=PORT,VALUE sleep=S exit=N callback=1
opt = dict(o.split("=", 1) for o in options)
methods = opt.get("methods", "objectinit,objectrefresh,objectterm,readio,writeio").split(",")
answer = [int(x) for x in opt.get("answer", "-2,-2").split(",")]


def log(*parts):
    with open(logpath, "a") as f:
        print(name, *parts, file=f)


def export(sig=""):
    def wrap(fn):
        return dbus.service.method("ikelvane.module", sig, sig)(fn) if fn.__name__ in methods else fn
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
        if Module.refreshes == int(opt.get("exit", 0)):
            os._exit(0)
        if "sleep" in opt:
            time.sleep(float(opt["sleep"]))
            log("objectrefresh done")
        if "callback" in opt:
            log("getpc", int(bus.get_object("ikelvane.server", "/server").getpc(dbus_interface="ikelvane._server")))

    @export()
    def objectterm(self):
        log("objectterm")

    def cells(self, method, port, value):
        log(method, int(port), int(value))
        return tuple(cell if told == -2 else told for cell, told in zip((port, value), answer))

    @export("ii")
    def readio(self, port, value):
        return self.cells("readio", port, value)

    @export("ii")
    def writeio(self, port, value):
        return self.cells("writeio", port, value)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
Module(bus, "/")
owned = dbus.service.BusName(name, bus)
print("ready", flush=True)
GLib.MainLoop().run()
