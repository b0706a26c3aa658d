"""The programs that work on a pair of databases, each measured from its begin to its end."""

from measure import measure
from side import REPOSITORY

BINARIES = REPOSITORY / "build" / "x86-release"
FOLDER = REPOSITORY / "build" / "bench"
LOG = FOLDER / "run.log"
OFF = 5  # log level: nothing of a run without conflicts is an error
DEBUG = 1


def run(pair, tables, *, level=OFF, whole=False, trace=None, **settings):
    """A run of the component over `tables`: of each its method, its name and, or an empty text, its key. `settings` are
    for its environment.
    """
    LOG.unlink(missing_ok=True)
    return _program("run", *([f"--trace={_windows_path(trace)}"] if trace else []), *(["--whole"] if whole else []),
                    pair.dsn("S"), pair.prefix("S"), pair.dsn("D"), pair.prefix("D"), level, _windows_path(LOG),
                    *(word for table in tables for word in table), **settings)


def loop(trace, *, whole=False):
    """The bare loop over what a run sent, which was `whole` as well."""
    return _program("replay", *(["--whole"] if whole else []), _windows_path(trace))


def log(kind, entries, size):
    """Entries of `size` bytes: by the "component", or by "bare" system calls."""
    LOG.unlink(missing_ok=True)
    return _program("log", kind, _windows_path(LOG), entries, size)


def _program(name, *words, **settings):
    return measure(["wine", BINARIES / f"bench_{name}.exe", *words], **settings)


def _windows_path(path):
    return "Z:" + str(path).replace("/", "\\")
