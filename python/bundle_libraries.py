"""Puts the libraries of the distribution that a package needs beside it, so that it needs none of the machine's.

They get names of their own, made of their contents, so that another copy that is loaded into the same process is never
taken for them, and find each other by relative paths. The C library and the C++ runtime stay those of the machine.
"""

import hashlib
import pathlib
import shutil
import subprocess

OF_THE_MACHINE = ("linux-vdso.so", "ld-linux", "libc.so", "libm.so", "libdl.so", "libpthread.so", "librt.so", "libstdc++.so",
                  "libgcc_s.so")
FOLDER = "_libraries"


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def needed(library):
    """The names of the libraries that a library asks for itself."""
    return run("patchelf", "--print-needed", str(library)).split()


def found(library):
    """Where the loader finds all that a library needs, by name."""
    paths = {}
    for line in run("ldd", str(library)).splitlines():
        name, _, rest = line.strip().partition(" => ")
        if rest.startswith("not found"):
            raise SystemExit(f"{library} needs {name}, which this machine doesn't have")
        if rest:
            paths[name] = pathlib.Path(rest.split(" (")[0]).resolve()
    return paths


def keep_licence(library, folder):
    """Debian's account of who wrote a library and on which terms it may be passed on."""
    # Where /lib is a link to /usr/lib, dpkg may know a file by the shorter path.
    for path in (library, pathlib.Path("/", *library.parts[2:])):
        owner = subprocess.run(["dpkg-query", "--search", str(path)], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                               text=True, check=False).stdout
        if owner:
            package = owner.split(":")[0]
            folder.mkdir(exist_ok=True)
            shutil.copy(f"/usr/share/doc/{package}/copyright", folder / package)
            return
    raise SystemExit(f"{library} is of no Debian package, so its licence isn't known")


def bundle(package):
    """Collects for all shared libraries that lie in the folder of a package."""
    folder = package / FOLDER
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    own = sorted(path for path in package.glob("*.so*") if not path.is_symlink())
    paths = {}
    for library in own:
        paths.update(found(library))
    names = {}
    for name, path in sorted(paths.items()):
        if name.startswith(OF_THE_MACHINE) or path.parent == package.resolve():
            continue
        stem, _, rest = name.partition(".so")
        names[name] = f"{stem}-{hashlib.sha256(path.read_bytes()).hexdigest()[:8]}.so{rest}"
        copy = folder / names[name]
        shutil.copy(path, copy)
        copy.chmod(0o755)
        keep_licence(path, folder / "licences")
    # One change at a time: of several, patchelf takes the last one for all.
    for library in own + [folder / name for name in names.values()]:
        for name in needed(library):
            if name in names:
                run("patchelf", "--replace-needed", name, names[name], str(library))
        if library.parent == folder:
            run("patchelf", "--set-soname", library.name, str(library))
        run("patchelf", "--set-rpath", "$ORIGIN" if library.parent == folder else f"$ORIGIN:$ORIGIN/{FOLDER}", str(library))
