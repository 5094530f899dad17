"""The module's dynamic symbol table: it exports the setup routine Pd's
loader looks for and nothing else, and every name it imports without a
library version is one that Pd itself exports, or one of the shared libraries
the module names as its own dependencies (FFTW, libmysofa) exports. Our host layer defines
functions named as Pd's (gensym, class_new, post, outlet_new...): none of
the static libraries' names is imported, so the dynamic linker cannot bind
our calls to Pd's code, nor Pd's or another module's to ours."""

import os
import shutil
import subprocess

import zorvpd

SETUP = "setup_zorv0x2epan_tilde"


def symbols(path, *options):
    done = subprocess.run(["nm", *options, path], capture_output=True, text=True, check=True)
    names = set()
    for line in done.stdout.splitlines():
        fields = line.split()
        if len(fields) >= 2 and not line.endswith(":"):
            names.add(fields[-1])
    return names


def needed_libraries(path):
    """The shared libraries the module names in its dynamic section, as the
    dynamic linker finds them."""
    if shutil.which("ldd") is None:
        return []
    done = subprocess.run(["ldd", path], capture_output=True, text=True)
    found = []
    for line in done.stdout.splitlines():
        if "=>" in line:
            target = line.split("=>", 1)[1].split("(")[0].strip()
            if target.startswith("/"):
                found.append(target)
    return found


def main():
    if shutil.which("nm") is None:
        print("nm is missing: skipped")
        raise SystemExit(zorvpd.SKIP)
    module = zorvpd.EXTERNAL
    exported = symbols(module, "-D", "--defined-only")
    if exported != {SETUP}:
        zorvpd.fail(f"the module exports {sorted(exported)}, not only {SETUP}")

    imported = symbols(module, "-D", "--undefined-only")
    unversioned = {name for name in imported if "@" not in name}
    pd_exports = symbols(zorvpd.PD, "-D", "--defined-only")
    needed_exports = set()
    for library in needed_libraries(module):
        needed_exports |= symbols(library, "-D", "--defined-only")
    # Weak references the toolchain adds to every shared object.
    toolchain = {"__gmon_start__", "_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable"}
    foreign = sorted(unversioned - pd_exports - needed_exports - toolchain)
    if foreign:
        zorvpd.fail(f"imported, but not from Pd, a versioned library nor a library the module "
                    f"needs: {foreign}")
    for name in ["gensym", "class_new", "post", "outlet_new", "pd_error"]:
        if name not in imported:
            zorvpd.fail(f"{name} is not imported from Pd")

    ours = set()
    for library in os.environ.get("ZORV_STATIC_LIBS", "").split(":"):
        if library:
            ours |= symbols(library, "--defined-only")
    if not any(name.startswith("_Z6gensym") for name in ours):
        zorvpd.fail("the host layer's gensym was not found in the static libraries")
    clash = sorted((imported | exported) & ours - {SETUP})
    if clash:
        zorvpd.fail(f"names of our libraries in the dynamic symbol table: {clash}")
    print(f"exports {SETUP} only; {len(unversioned)} names come from Pd; "
          f"none of the {len(ours)} names of our libraries is in the table")


if __name__ == "__main__":
    main()
