"""What is on the desktop of the demonstration: applications, documents and a language file."""

import pathlib
import plistlib
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1]))

import xsession  # noqa: E402

LANGUAGE_TABLE = {"Mixer": "Mischpult", "Tracks": "Spuren", "Notes": "Notizen", "Plug-ins": "Effekte"}
DOCUMENTS = ["Mischpult.txt", "Spuren.txt", "Notizen.txt"]

# A signature is a key that desktop files do not have by themselves; a file of the same name in the
# user's data folder comes before the system's.
TERMINAL_DESKTOP_FILE = """[Desktop Entry]
Type=Application
Name=XTerm
Exec=xterm
StartupWMClass=XTerm
X-CFBundleSignature=XTRM
"""

# The editor shows the names of its files without their folders.
SETTINGS = """[org/xfce/mousepad/preferences/window]
path-in-title=false
"""


class Session(xsession.Session):
    """A session in German, with an editor, a terminal and a calculator."""

    def set_up(self):
        self.environment["LANGUAGE"] = "de"
        self._write_files()
        self.start_display()
        self.start("openbox")
        self._start_applications()

    def _write_files(self):
        self.write_data("Zynwerks/German.plist", plistlib.dumps(LANGUAGE_TABLE))
        self.write_data("applications/debian-xterm.desktop", TERMINAL_DESKTOP_FILE)
        settings = self.folder / "config" / "glib-2.0" / "settings"
        settings.mkdir(parents=True)
        (settings / "keyfile").write_text(SETTINGS)
        for name in DOCUMENTS:
            (self.folder / "home" / name).write_text(f"{name}\n")

    def _start_applications(self):
        self.start("mousepad", "--disable-server", "--opening-mode=window", *DOCUMENTS)
        self.start("xterm", "-T", "Protokoll", "-geometry", "60x10+60+560", "-e", "sleep", "600")
        self.start("xcalc", "-geometry", "+900+60")
