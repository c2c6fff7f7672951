"""Compiles what is built on both systems as it will be on macOS: by clang, with the library of macOS
(libc++) in a version as old as macOS' compilers may have, its integer types, and no header but the
frameworks'. Then looks at what the objects ask the system for."""

import concurrent.futures
import os
import re
import shutil
import subprocess

import configuration
import names
import view

OBJECTS = view.ROOT / "build" / "native" / "objects"

# What the C library here has and that of macOS has not, or with other parameters.
LINUX_ONLY = """
    accept4 canonicalize_file_name clock_nanosleep close_range dup3 endian.h epoll_create1 epoll_ctl
    epoll_wait error.h eventfd execvpe explicit_bzero get_current_dir_name getauxval getrandom gettid
    htobe32 htobe64 htole16 htole32 htole64 inotify_init1 le16toh le32toh le64toh be32toh be64toh
    malloc.h memfd_create memrchr mempcpy mkostemp mq_open pidfd_open pipe2 ppoll prctl
    program_invocation_name program_invocation_short_name pthread_timedjoin_np qsort_r rawmemchr
    recvmmsg sched_setaffinity secure_getenv sem_init sem_timedwait sendmmsg signalfd sigtimedwait
    sigwaitinfo sigqueue strchrnul strverscmp timer_create timerfd_create unshare versionsort
    st_atim st_ctim st_mtim ucred
    CLOCK_BOOTTIME CLOCK_MONOTONIC_COARSE EPOLLIN MSG_NOSIGNAL O_PATH O_TMPFILE POLLRDHUP SIGPOLL
    SIGRTMAX SIGRTMIN SOCK_CLOEXEC SOCK_NONBLOCK SO_PASSCRED SO_PEERCRED /proc/ /sys/ /run/ /etc/
""".split()

# Symbols of libc++ that macOS has from a version on which is later than our oldest.
LATE = {r"std::__1::(to|from)_chars\(.*(float|double)": "13.3",
        r"std::__1::pmr::": "14.0", r"std::__1::__libcpp_verbose_abort": "13.3"}

# What must be refused, or the check would see nothing.
MISTAKES = {
    "a header of the layer's inside": "#include <CoreFoundation/CFRuntime.h>",
    "a header of Linux": '#include "platform/linux/desktop/Desktop.h"',
    "a plain number for a named one": "#include <ApplicationServices/ApplicationServices.h>\n"
                                      "CGEventType type = 10;",
    "a long for 64 bits": "#include <cstdint>\n#include <cstdio>\n"
                          "void f(std::int64_t n) { std::printf(\"%ld\", n); }",
    "a thread of a newer library": "#include <thread>\nstd::jthread thread;",
    "a header that only another library brings along": "#include <vector>\nstd::string text;",
}


def compiler_words():
    """The command line before the source; the warnings are those of every other build."""
    warnings = re.findall(r"-W[\w=-]+", (view.ROOT / "cmake/KivoCompiler.cmake").read_text())
    return ["clang++", "-std=c++20", "-stdlib=libc++", "-O0", *dict.fromkeys(warnings), "-Werror",
            "-Wno-unknown-warning-option",
            "-isystem", str(view.ROOT / "tests/native/darwin"), "-isystem", str(view.FRAMEWORKS),
            f"-I{view.SOURCES}"]


def object_of(source):
    return OBJECTS / (source.replace("/", "-") + ".o")


def compile_one(source, definitions, text=None):
    """The compiler's complaints about a source, or about a text; empty when there are none."""
    cache = [] if text or not shutil.which("ccache") else ["ccache"]
    place = ["-x", "c++", "-fsyntax-only", "-"] if text else ["-c", source, "-o", object_of(source)]
    return subprocess.run([*cache, *compiler_words(), *definitions, *place], input=text,
                          cwd=view.SOURCES, capture_output=True, text=True, check=False).stderr


def compile_all(sources):
    OBJECTS.mkdir(parents=True, exist_ok=True)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as workers:
        yield from filter(None, workers.map(compile_one, sources.keys(), sources.values()))


def linux_words(source):
    """Words in a source, comments left out, that only Linux knows."""
    code = re.sub(r"//.*", "", (view.SOURCES / source).read_text())
    for word in LINUX_ONLY:
        if re.search(rf"(?<![\w.]){re.escape(word)}(?!\w)", code):
            yield f"{source}: {word} is not there on macOS"


def blindness():
    """The mistakes that were let through."""
    for mistake, text in MISTAKES.items():
        if not compile_one("", [], text + "\n"):
            yield f"{mistake} was let through"


def symbols(sources, *options):
    output = subprocess.run(["nm", "--demangle", *options, *map(str, map(object_of, sources))],
                            capture_output=True, text=True, check=True).stdout
    return set(re.findall(r"^(?:[0-9a-f]+| +) \w (.+)$", output, re.MULTILINE))


def platform_names():
    """What the headers beside platform/linux and platform/macos declare."""
    return {name for header in (view.ROOT / "platform").glob("*.h")
            for name in re.findall(r"\b(\w+)(?=[(\[])", header.read_text())}


def is_of_the_languages(symbol):
    """Whether a symbol is of the C++ library or the compiler's."""
    return bool(re.match(r"(\w[\w<> :]* )?std::|operator (new|delete)|__cxa_|_Unwind_|__gxx_|"
                         r"(vtable|typeinfo( name)?|VTT) for (std|__cxxabiv1)::|"
                         r"_GLOBAL_OFFSET_TABLE_|non-virtual thunk to std", symbol))


def strange_symbols(sources):
    """What the objects use that is none of: a listed name of the platform, a name of the headers in
    platform/, the C library that macOS has too, the C++ library, each other."""
    text = (view.ROOT / "tests/native/c-library.txt").read_text()
    allowed = names.listed() | platform_names() | set(re.sub(r"#.*", "", text).split())
    allowed.add("__CFStringMakeConstantString")  # what CFSTR is made of
    for symbol in sorted(symbols(sources, "--undefined-only") - symbols(sources, "--defined-only")):
        for pattern, version in LATE.items():
            if re.match(pattern, symbol):
                yield f"{symbol} is there from macOS {version} on only"
        plain = symbol.removeprefix("kivo::advice::")
        if plain not in allowed and not is_of_the_languages(symbol):
            yield f"the objects use {symbol}, which is no listed name"


def of_the_tests(source):
    return source.startswith("tests/")


def complaints(is_chosen):
    """What is wrong with the chosen sources, a complaint each."""
    chosen = {source: words for source, words in configuration.sources().items()
              if source.endswith(".cpp") and is_chosen(source)}
    if not chosen:
        yield "no source is built for macOS"
    faults = list(compile_all(chosen))
    yield from faults
    for source in chosen:
        yield from linux_words(source)
    if not faults and not any(map(of_the_tests, chosen)):
        yield from strange_symbols(chosen)


def complaints_of_the_product():
    yield from blindness()
    yield from complaints(lambda source: not of_the_tests(source))


def complaints_of_the_tests():
    yield from complaints(of_the_tests)
