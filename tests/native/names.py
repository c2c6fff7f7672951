"""Compares the names that the layer's headers declare with those that tests/native/signatures lists,
and looks for what a signature cannot show: default arguments, overloads, C++ linkage."""

import pathlib
import re
import sys

from clang import cindex

import view

KINDS = cindex.CursorKind
DECLARATIONS = {KINDS.FUNCTION_DECL, KINDS.VAR_DECL, KINDS.TYPEDEF_DECL, KINDS.TYPE_ALIAS_DECL,
                KINDS.ENUM_DECL, KINDS.ENUM_CONSTANT_DECL, KINDS.STRUCT_DECL, KINDS.FIELD_DECL,
                KINDS.CLASS_DECL, KINDS.UNION_DECL, KINDS.MACRO_DEFINITION}
# What may be neither declared nor listed, because macOS has no such thing in a header of C.
FOREIGN = {KINDS.NAMESPACE, KINDS.CLASS_TEMPLATE, KINDS.FUNCTION_TEMPLATE, KINDS.CXX_METHOD,
           KINDS.CONSTRUCTOR}
WORDS = "FUNCTION|TYPE|ENUMERATION|STRUCTURE|CONSTANT|VARIABLE|EXPRESSION|TEXT"


def parse(path):
    unit = cindex.Index.create().parse(
        str(path), args=["-x", "c++", "-std=c++20", f"-I{view.FRAMEWORKS}"],
        options=cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
    faults = [str(fault) for fault in unit.diagnostics if fault.severity >= 3]
    if faults:
        sys.exit("the frameworks' headers do not parse:\n" + "\n".join(faults))
    return unit


def cursors(unit):
    """Every declaration and macro of the frameworks' headers."""
    def below(cursor):
        yield cursor
        if cursor.kind != KINDS.FUNCTION_DECL:
            for child in cursor.get_children():
                yield from below(child)
    for top in unit.cursor.get_children():
        file = top.location.file
        if file is not None and file.name.startswith(str(view.FRAMEWORKS)):
            yield from below(top)


def name_of(cursor):
    if cursor.kind == KINDS.FIELD_DECL:
        parent = cursor.semantic_parent
        # A structure without a name of its own is known by its typedef's.
        return f"{parent.type.spelling.split('::')[-1].removeprefix('struct ')}.{cursor.spelling}"
    return cursor.spelling


def declared(unit):
    """The names that the headers declare. What begins with two underscores is the layer's own."""
    return {name_of(cursor) for cursor in cursors(unit)
            if cursor.kind in DECLARATIONS and cursor.spelling
            and not cursor.is_anonymous() and not cursor.spelling.startswith("__")}


def listed():
    """The names that the signatures list, a field as Structure.field."""
    names = set()
    for path in sorted((view.ROOT / "tests/native/signatures").glob("*.cpp")):
        text = re.sub(r"//.*", "", path.read_text())
        names.update(re.findall(rf"^\s*(?:{WORDS})\(\(?(\w+)", text, re.MULTILINE))
        names.update(f"{structure}.{field}" for structure, field in
                     re.findall(r"^FIELD\((\w+),\s*(\w+)", text, re.MULTILINE))
        names.update(re.findall(r"^typedef (CF_\w+)\(", text, re.MULTILINE))
        names.difference_update(re.findall(r"^typedef CF_\w+\(\w+, (\w+)\)", text, re.MULTILINE))
        names.difference_update(re.findall(r"^typedef CF_\w+\([^)]*\) \{\s*(\w+)", text,
                                           re.MULTILINE))
    return names


def oddities(unit):
    """What the headers hold that a header of macOS could not."""
    parameters = {}
    for cursor in cursors(unit):
        place = f"{pathlib.Path(cursor.location.file.name).name}:{cursor.location.line}"
        if cursor.kind in FOREIGN:
            yield f"{place}: {cursor.spelling} is no declaration of C"
        if cursor.kind != KINDS.FUNCTION_DECL:
            continue
        if parameters.setdefault(cursor.spelling, cursor.type.spelling) != cursor.type.spelling:
            yield f"{place}: {cursor.spelling} is overloaded"
        if cursor.mangled_name != cursor.spelling and cursor.storage_class.name != "STATIC":
            yield f"{place}: {cursor.spelling} has C++ linkage"
        for argument in cursor.get_arguments():
            if any(token.spelling == "=" for token in argument.get_tokens()):
                yield f"{place}: {cursor.spelling} has a default argument"


def complaints():
    """What is wrong, a line each; nothing when all is well."""
    umbrella = view.VIEW / "umbrella.cpp"
    umbrella.write_text("".join(f"#include <{name}>\n" for name in view.UMBRELLAS))
    unit = parse(umbrella)
    ours, known = declared(unit), listed()
    yield from (f"{name} is declared, but not listed in tests/native/signatures"
                for name in sorted(ours - known))
    yield from (f"{name} is listed in tests/native/signatures, but not declared"
                for name in sorted(known - ours))
    yield from oddities(unit)
    if len(ours) < 300:
        yield f"only {len(ours)} names were found: the headers were not read"
