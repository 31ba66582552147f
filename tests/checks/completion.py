#!/usr/bin/env python3
"""Types commands into a shell, presses the tabulator and looks at what stands there then.

Usage: completion.py SHELL TOOL WORK

SHELL is bash, fish or zsh. It runs interactively in a terminal of its own, with the tool's completion where an installation
puts it. WORK is a folder for what is made here.
"""
import os
import pathlib
import pty
import select
import shutil
import subprocess
import sys
import time

SECONDS = 30
PROMPT = "ready>"
# What a function that is put in front of the line shows: the words as the shell takes them.
START = {
    "bash": "PS1='{prompt}'; HISTFILE=; source {script}\n"
            "show() {{ printf '%s\\n' \"$@\" >words.new; mv words.new words; }}\n",
    "zsh": "PS1='{prompt}'; fpath=({folder} $fpath); autoload -Uz compinit; compinit -u -D\n"
           "show() {{ printf '%s\\n' \"$@\" >words.new; mv words.new words }}\n",
    "fish": "function fish_prompt; echo '{prompt}'; end; function fish_greeting; end\n"
            "set -g fish_autosuggestion_enabled 0\n"
            "function show; printf '%s\\n' $argv >words.new; mv words.new words; end\n",
}
FILES = ["one.png", "two.PNG", "three.txt", "spa ce.png", "graph.json", "folder/inner.tga"]
# What is typed, and the words that are there afterwards.
CASES = [
    ("rimage conv", ["rimage", "convert"]),
    ("rimage --vers", ["rimage", "--version"]),
    ("rimage help ster", ["rimage", "help", "stereo"]),
    ("rimage convert --pre", ["rimage", "convert", "--premultiply"]),
    # The texts of options.
    ("rimage blend --gpu ne", ["rimage", "blend", "--gpu", "never"]),
    ("rimage blend --gpu=ne", ["rimage", "blend", "--gpu=never"]),
    ("rimage convert --format BGRA", ["rimage", "convert", "--format", "BGRA"]),
    ("rimage convert --field av", ["rimage", "convert", "--field", "average"]),
    ("rimage stereo --mode=ch", ["rimage", "stereo", "--mode=checkerboard"]),
    ("rimage blend --missing sk", ["rimage", "blend", "--missing", "skip"]),
    ("rimage help --completion z", ["rimage", "help", "--completion", "zsh"]),
    # Effects, properties, presets and enumerations, in every way of quoting.
    ("rimage properties RImOpB", ["rimage", "properties", "RImOpBlend"]),
    ("rimage blend --set Pres", ["rimage", "blend", "--set", "Preset="]),
    ("rimage blend --set Preset=diss", ["rimage", "blend", "--set", "Preset=dissolve"]),
    ("rimage blend --set Preset=A\\ ov", ["rimage", "blend", "--set", "Preset=A over B"]),
    ("rimage blend --set Preset=\"A ov", ["rimage", "blend", "--set", "Preset=A over B"]),
    ("rimage blend --set \"Preset=A ov", ["rimage", "blend", "--set", "Preset=A over B"]),
    ("rimage blend --set 'Preset=A ov", ["rimage", "blend", "--set", "Preset=A over B"]),
    ("rimage key --set Mode=Diff", ["rimage", "key", "--set", "Mode=Difference Keying"]),
    ("rimage correct --set Transparency=t", ["rimage", "correct", "--set", "Transparency=true"]),
    # Files of the formats that are read.
    ("rimage info on", ["rimage", "info", "one.png"]),
    ("rimage info tw", ["rimage", "info", "two.PNG"]),
    ("rimage info t", ["rimage", "info", "two.PNG"]),
    ("rimage info ~/mi", ["rimage", "info", "{home}/mine.png"]),
    ("rimage info spa", ["rimage", "info", "spa ce.png"]),
    ("rimage info folder/in", ["rimage", "info", "folder/inner.tga"]),
    ("rimage graph gr", ["rimage", "graph", "graph.json"]),
    ("rimage convert one.png --merge-alpha tw", ["rimage", "convert", "one.png", "--merge-alpha", "two.PNG"]),
    ("rimage convert -- on", ["rimage", "convert", "--", "one.png"]),
]


def install(shell, tool, home):
    """Puts the script where the shell looks for it, and what it does at its start. Returns how it is called."""
    script = subprocess.run([tool, "help", "--completion", shell], check=True, capture_output=True, text=True).stdout
    place = home / {"bash": "rimage", "zsh": "functions/_rimage", "fish": "data/fish/vendor_completions.d/rimage.fish"}[shell]
    start = home / {"bash": "start", "zsh": ".zshrc", "fish": "config/fish/config.fish"}[shell]
    for path, text in ((place, script), (start, START[shell].format(prompt=PROMPT, script=place, folder=place.parent))):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
    return {"bash": ["bash", "--noprofile", "--rcfile", str(start), "-i"], "zsh": ["zsh", "-d", "-i"], "fish": ["fish", "-i"]}[shell]


class Terminal:
    """A shell in a terminal."""

    def __init__(self, command, folder, environment):
        self.shown = ""
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.chdir(folder)
            os.execvpe(command[0], command, environment)

    def wait(self, condition, what):
        end = time.monotonic() + SECONDS
        while not condition():
            if time.monotonic() > end:
                raise TimeoutError(f"{what} does not come; shown was\n{self.shown}")
            if select.select([self.terminal], [], [], 0.05)[0]:
                self.shown += os.read(self.terminal, 65536).decode(errors="replace")

    def type(self, keys):
        os.write(self.terminal, keys.encode())

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.process, 0)


def words_after_tab(terminal, line, folder):
    """Types the line and a tabulator, and returns the words that are there then."""
    answer = folder / "words"
    answer.unlink(missing_ok=True)
    # To the start of the line, and a function in front of it.
    terminal.type(f"{line}\t\x01show \r")
    terminal.wait(answer.exists, "an answer")
    return answer.read_text().splitlines()


def main():
    shell, tool, work = sys.argv[1], pathlib.Path(sys.argv[2]).resolve(), pathlib.Path(sys.argv[3]).resolve()
    shutil.rmtree(work, ignore_errors=True)
    folder, home = work / "folder", work / "home"
    for path in [folder / name for name in FILES] + [home / "mine.png"]:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("x")
    command = install(shell, tool, home)
    environment = {"PATH": f"{tool.parent}:{os.environ['PATH']}", "HOME": str(home), "ZDOTDIR": str(home), "TERM": "xterm",
                   "XDG_CONFIG_HOME": str(home / "config"), "XDG_DATA_HOME": str(home / "own"),
                   "XDG_DATA_DIRS": f"{home / 'data'}:/usr/local/share:/usr/share", "LC_ALL": "C.UTF-8"}
    failures = 0
    for line, expected in CASES:
        terminal = Terminal(command, folder, environment)
        try:
            terminal.wait(lambda: PROMPT in terminal.shown, "the prompt")
            words = words_after_tab(terminal, line, folder)
        finally:
            terminal.close()
        expected = [word.replace("{home}", str(home)) for word in expected]
        if words != expected:
            print(f"{shell}: {line!r} became {words}, not {expected}")
            failures += 1
    print(f"{shell}: {len(CASES)} lines, {failures} wrong")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
