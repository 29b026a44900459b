"""Rules of this project's style that no other tool knows; tools/check-static applies them.

Each rule is a function from a file's name and text to its findings: (line number, message).
"""
import functools
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parent.parent
# The library's headers are included by their plain names, wherever they are installed.
LIBRARY = ("src/", "include/")
# These repeat the SDK's headers, name by name.
SDK_HEADERS = ("hostsdk/include/", "tests/support/sdk-other-layout/")
# Without the suffix that a macro appends.
POINTER = re.compile(r"\bpp?[A-Z][A-Za-z0-9]*")


def line_of(text, offset):
    return text.count("\n", 0, offset) + 1


def is_header(name):
    return name.endswith(".h") and not name.startswith(SDK_HEADERS)


def is_code(name):
    return name.endswith((".h", ".cpp", ".c")) and not name.startswith(SDK_HEADERS)


def without_comments(text):
    """The text with comments and literals blanked out; lines keep their numbers."""
    return re.sub(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', lambda match: re.sub(r"[^\n]", " ", match.group(0)), text,
                  flags=re.DOTALL)


def header_guard(name, text):
    if not is_header(name) or name.startswith(LIBRARY):
        return
    wanted = re.sub(r"[^A-Z0-9]", "_", name.upper())
    found = re.search(r"^#ifndef (\w+)\n#define \1$", text, re.MULTILINE)
    if found is None or found.group(1) != wanted:
        yield 1, f"the header guard is not {wanted}"


def file_comment(name, text):
    if not is_header(name):
        return
    base = re.escape(pathlib.PurePath(name).name)
    if not re.match(rf"/\*\*(\n \*)? @file {base}[ \n]", text):
        yield 1, f"the header does not begin with /** @file {pathlib.PurePath(name).name} and a sentence"


@functools.cache
def names_of_the_interface():
    """Names of pointers in the SDK's interface and the library's sources."""
    folders = [ROOT / folder for folder in ("hostsdk/include", *LIBRARY)]
    return {pointer for folder in folders for file in folder.rglob("*.*") if file.suffix in (".h", ".cpp")
            for pointer in POINTER.findall(file.read_text(encoding="utf-8"))}


def plain_pointers(name, text):
    if not is_code(name) or name.startswith(LIBRARY):
        return
    for found in POINTER.finditer(without_comments(text)):
        if found.group(0) not in names_of_the_interface():
            yield line_of(text, found.start()), f"{found.group(0)}: pointers have plain names outside src/ and include/"


def plain_integers(name, text):
    if not is_code(name):
        return
    for found in re.finditer(r"\bstd::(size_t|u?int(?:8|16|32|64)_t)\b", without_comments(text)):
        yield line_of(text, found.start()), f"{found.group(0)} is written {found.group(1)} here"


def namespaces(name, text):
    if not is_code(name) or name.startswith(LIBRARY):
        return
    for found in re.finditer(r"^(?:inline )?namespace ([\w:]+) \{", text, re.MULTILINE):
        if not re.match(r"zelrtc(::|$)", found.group(1)):
            yield line_of(text, found.start()), f"namespace {found.group(1)} is not inside zelrtc"
    declares = re.sub(r"^#.*", "", without_comments(text), flags=re.MULTILINE).strip()
    if is_header(name) and declares and "namespace zelrtc" not in declares and 'extern "C"' not in text:
        yield 1, "the header declares outside of any zelrtc namespace"


def shell(name, text):
    if not re.match(r"#!.*\b(?:bash|sh)\b", text) and not name.endswith(".sh"):
        return
    commands = [line for line in text.splitlines() if line and not line.startswith("#")]
    if not commands or not re.fullmatch(r'set -euo pipefail|\. "\$\(dirname "\$0"\)/lib\.sh"', commands[0]):
        yield 1, "the first command is not: set -euo pipefail"
    # Continued lines and quoted text may be indented in any way.
    depth = 0
    for number, line in enumerate(text.splitlines(), 1):
        indent = len(line) - len(line.lstrip(" "))
        if line.strip() and indent > depth and indent - depth != 4 and not text.splitlines()[number - 2].endswith("\\"):
            yield number, "shell scripts are indented by four spaces"
            return
        depth = indent if line.strip() else depth


RULES = (header_guard, file_comment, plain_pointers, plain_integers, namespaces, shell)


def findings(names):
    for name in names:
        text = (ROOT / name).read_text(encoding="utf-8", errors="replace")
        for rule in RULES:
            for line, words in rule(name, text):
                yield f"{name}:{line}: {words}"
