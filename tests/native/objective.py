"""Checks the Objective-C++ files of platform/macos against the open Foundation and AppKit headers, the
layer's C headers and, for what both lack, tests/native/declarations: syntax, names, selectors, types."""

import concurrent.futures
import os
import subprocess

import configuration
import sources
import view

# What must be refused, or the check would see nothing.
MISTAKES = {
    "a method that does not exist": "id f() { return [[NSWorkspace sharedWorkspace] frontApplication]; }",
    "a class method that does not exist": "NSPoint f() { return [NSEvent locationOfMouse]; }",
    "a selector that nobody has": "SEL f() { return @selector(applicationDidActivated:); }",
    "a class that does not exist": "id f() { return [NSRunningApplications class]; }",
    "a wrong result type": "NSURL* f(NSRunningApplication* a) { return [a bundleIdentifier]; }",
    "a wrong argument type": "id f(NSURL* u) { return [NSBundle bundleWithPath:u]; }",
    "a constant that does not exist": "id f() { return NSWorkspaceActivationKey; }",
    "a Core Foundation object of another type": "CFIndex f(CFDataRef d) { return CFStringGetLength(d); }",
}


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.split()


def compiler_words():
    """The command line before the source. GNUstep's own words say which run-time library its headers
    are for; those that concern a build are left out."""
    gnustep = output_of("gnustep-config", "--objc-flags")
    folders = [word[2:] for word in gnustep if word.startswith("-I/usr/")]
    return [*sources.compiler_words(), "-fsyntax-only", "-x", "objective-c++", "-fobjc-runtime=gcc",
            *(word for word in gnustep if word.startswith(("-D", "-fconstant", "-fobjc-exc"))),
            "-DNO_GNUSTEP", "-Wundeclared-selector", "-Wobjc-method-access", "-Wstrict-selector-match",
            *(word for folder in folders for word in ("-isystem", folder)),
            # The headers of the Objective-C run-time library lie among gcc's own.
            "-idirafter", *output_of("gcc", "-print-file-name=include")]


def declarations_first(words):
    """The same with our declarations in front of every other header."""
    first = words.index("-isystem")
    return [*words[:first], "-isystem", str(view.ROOT / "tests/native/declarations"), *words[first:]]


def complain(words, source, text=None):
    return subprocess.run([*words, source], input=text, cwd=view.SOURCES, capture_output=True,
                          text=True, check=False).stderr


def complaints():
    """What is wrong with the Objective-C++ files, and which mistake was let through."""
    words = declarations_first(compiler_words())
    files = [source for source in configuration.sources() if source.endswith(".mm")]
    if not files:
        yield "no Objective-C++ file is built for macOS"
    prelude = ("#include <ApplicationServices/ApplicationServices.h>\n#import <AppKit/AppKit.h>\n")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as workers:
        yield from filter(None, workers.map(lambda file: complain(words, file), files))
        fault = complain(words, "-", prelude)
        if fault:
            yield f"the headers themselves do not compile:\n{fault}"
        refused = workers.map(lambda text: complain(words, "-", prelude + text + "\n"),
                              MISTAKES.values())
        for mistake, complaint in zip(MISTAKES, refused):
            if not complaint:
                yield f"{mistake} was let through"
