"""Runs what docs/guide.md and README.md show, and compares what it prints with what they say.

A block of C++ is a program of its own when it has a `main`, declarations when it begins with a class or a template, and
statements otherwise: those of one section make one function, so that names carry on from block to block. A block of C
is a list of statements, a block of Python a program. What a block prints is the `text` block behind it, and nothing
where there is none.

Arguments: the C++ compiler, the library, further flags of the compiler; --python=PATH in front runs the Python blocks,
too.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENTS = ["README.md", "docs/guide.md"]
# What is shown and not run.
NOT_RUN = {"cmake", "console", "sh"}
STANDARD_HEADERS = ["algorithm", "complex", "exception", "iostream", "stdexcept", "string", "thread", "utility", "vector"]
# Stands in the output in front of what a block prints.
MARK = "\1"
# The same as an escape of all three languages.
WRITTEN_MARK = "\\1"


class Block:
    def __init__(self, place, section, language, text):
        self.place, self.section, self.language, self.text = place, section, language, text
        self.expected = ""


def blocks_of(document):
    """The blocks that are run, with the output that is shown for each."""
    blocks, section = [], document
    lines = iter(enumerate((ROOT / document).read_text(encoding="utf-8").splitlines(), 1))
    for number, line in lines:
        if line.startswith("#"):
            section = f"{document}: {line.strip('# ')}"
        if not line.startswith("```"):
            continue
        place, language, body = f"{document}:{number}", line[3:], []
        for _, inner in lines:
            if inner.startswith("```"):
                break
            body.append(inner)
        text = "\n".join(body) + "\n"
        if language == "text":
            assert blocks and not blocks[-1].expected, f"{place}: the output of nothing"
            blocks[-1].expected = text
        elif language in ("cpp", "c", "python"):
            blocks.append(Block(place, section, language, text))
        else:
            assert language in NOT_RUN, f"{place}: a block in an unknown language: '{language}'"
    return blocks


def cpp_program(blocks):
    includes = {f"#include <{header}>" for header in ("pyx/pyx.h", *STANDARD_HEADERS)}
    definitions, calls = [], []
    sections = {}
    for block in blocks:
        includes.update(re.findall(r"^#include .*", block.text, flags=re.M))
        block.text = re.sub(r"^#include .*", "", block.text, flags=re.M)
        sections.setdefault(block.section, []).append(block)
    for count, section in enumerate(sections.values()):
        space, statements = f"section{count}", []
        for block in section:
            start = f'std::cout << "{WRITTEN_MARK}";\n'
            if "int main() {" in block.text:
                program = block.text.replace("int main() {", "void program() {")
                definitions.append(f"namespace {space} {{\n{program}}}\n")
                statements.append(f"{start}program();\n")
            elif re.match(r"(class|struct|template)\b", block.text):
                definitions.append(f"namespace {space} {{\nusing namespace Quorvane::Pyx;\n{block.text}}}\n")
                statements.append(start)
            else:
                statements.append(start + block.text)
        definitions.append(f"namespace {space} {{\nvoid run() {{\nusing namespace Quorvane::Pyx;\n"
                           f"{''.join(statements)}}}\n}}\n")
        calls.append(f"{space}::run();\n")
    return "\n".join(sorted(includes)) + "\n" + "".join(definitions) + f"int main() {{\n{''.join(calls)}}}\n"


def c_program(blocks):
    body = "".join(f'printf("{WRITTEN_MARK}");\n{{\n{block.text}}}\n' for block in blocks)
    return f"#include <pyx/abi/c_api.h>\n#include <stdio.h>\nint main(void) {{\n{body}return 0;\n}}\n"


def python_program(blocks):
    return "".join(f'print("{WRITTEN_MARK}", end="")\n{block.text}' for block in blocks)


def output_of(command, **arguments):
    result = subprocess.run(command, capture_output=True, text=True, check=False, **arguments)
    assert result.returncode == 0, f"{' '.join(map(str, command))}\n{result.stdout}{result.stderr}"
    return result.stdout


def main():
    arguments = sys.argv[1:]
    python = arguments.pop(0).removeprefix("--python=") if arguments[0].startswith("--python=") else None
    compiler, library, *flags = arguments
    library = pathlib.Path(library)
    blocks = [block for document in DOCUMENTS for block in blocks_of(document)]
    by_language = {language: [block for block in blocks if block.language == language]
                   for language in ("cpp", "c", "python")}
    failures = ran = 0
    with tempfile.TemporaryDirectory() as work:
        build = [compiler, "-O0", "-Wall", "-Wextra", "-Werror", *flags, f"-I{ROOT}/include",
                 f"-I{ROOT}/examples/plugins", "-pthread"]
        link = [f"-L{library.parent}", "-lPyxCore", f"-Wl,-rpath,{library.parent}"]
        programs = {}
        for language, make, options in (("cpp", cpp_program, ["-xc++", "-std=c++17"]),
                                        ("c", c_program, ["-xc", "-std=c99"])):
            source, program = f"{work}/{language}.source", f"{work}/{language}"
            pathlib.Path(source).write_text(make(by_language[language]), encoding="utf-8")
            output_of([*build, *options, "-c", source, "-o", program + ".o"])
            output_of([*build, program + ".o", "-o", program, *link])
            programs[language] = [program]
        if python:
            programs["python"] = [python, "-c", python_program(by_language["python"])]
        environment = dict(os.environ, PYXCORE_LIBRARY=str(library), PYTHONPATH=str(ROOT / "examples/python"),
                           PYTHONDONTWRITEBYTECODE="1")
        for language, command in programs.items():
            printed = output_of(command, env=environment).split(MARK)[1:]
            # A program prints its mark only when it is run, so every block must have one.
            assert len(printed) == len(by_language[language]), f"{len(printed)} blocks of {language} were run"
            for block, text in zip(by_language[language], printed):
                ran += 1
                if text != block.expected:
                    failures += 1
                    print(f"{block.place} prints\n{text}and not\n{block.expected}")
    print(f"{ran} blocks were run, {failures} print something else")
    sys.exit(failures != 0 or ran == 0)


if __name__ == "__main__":
    main()
