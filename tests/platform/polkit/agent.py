#!/usr/bin/python3
"""agent.py PID cancel|PASSWORD: answers the password prompts for what that process starts.

Writes READY once it is registered and ASKED for each prompt.
"""
import os
import pwd
import subprocess
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

POLKIT = "org.freedesktop.PolicyKit1"
AGENT = POLKIT + ".AuthenticationAgent"
HELPER = "/usr/lib/polkit-1/polkit-agent-helper-1"
PATH = "/test/Agent"


class Cancelled(dbus.DBusException):
    _dbus_error_name = POLKIT + ".Error.Cancelled"


class Agent(dbus.service.Object):
    def __init__(self, bus, answer):
        super().__init__(bus, PATH)
        self.answer = answer

    @dbus.service.method(AGENT, in_signature="sssa{ss}sa(sa{sv})")
    def BeginAuthentication(self, action, message, icon, details, cookie, identities):
        print("ASKED", action, flush=True)
        if self.answer == "cancel":
            raise Cancelled("no")
        administrator = pwd.getpwuid(int(identities[0][1]["uid"])).pw_name
        words = f"{cookie}\n{self.answer}\n".encode()
        subprocess.run([HELPER, administrator], input=words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    @dbus.service.method(AGENT, in_signature="s")
    def CancelAuthentication(self, cookie):
        pass


def subject(pid):
    with open(f"/proc/{pid}/stat") as stat:
        start = int(stat.read().rsplit(")", 1)[1].split()[19])
    owner = os.stat(f"/proc/{pid}").st_uid
    return ("unix-process", {"pid": dbus.UInt32(pid), "start-time": dbus.UInt64(start), "uid": dbus.Int32(owner)})


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
system_bus = dbus.SystemBus()
agent = Agent(system_bus, sys.argv[2])
authority = dbus.Interface(system_bus.get_object(POLKIT, "/org/freedesktop/PolicyKit1/Authority"), POLKIT + ".Authority")
authority.RegisterAuthenticationAgent(subject(int(sys.argv[1])), "C", PATH)
print("READY", flush=True)
GLib.MainLoop().run()
