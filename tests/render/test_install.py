"""`make install` puts the renderer in PREFIX/bin and the Pd external with its
help patch in PREFIX/lib/pd/extra/zorv.pan~/, and lists them in a manifest
that removes them again. Installs into a temporary prefix through the build's
own install script, under a component name of its own so that the user's
install_manifest.txt is left alone."""

import os
import shutil
import subprocess
import sys
import tempfile

BUILD = sys.argv[1]


def fail(text):
    print("FAIL: " + text)
    sys.exit(1)


def main():
    prefix = tempfile.mkdtemp(prefix="zorv-install")
    manifest = os.path.join(BUILD, "install_manifest_Unspecified.txt")
    try:
        done = subprocess.run(
            ["cmake", f"-DCMAKE_INSTALL_PREFIX={prefix}", "-DCMAKE_INSTALL_COMPONENT=Unspecified",
             "-P", os.path.join(BUILD, "cmake_install.cmake")],
            capture_output=True, text=True, timeout=120)
        if done.returncode != 0:
            fail(f"install ended with {done.returncode}:\n{done.stdout}{done.stderr}")
        renderer = os.path.join(prefix, "bin", "zorv-render")
        if not os.access(renderer, os.X_OK):
            fail(f"{renderer} is missing or not executable")
        run = subprocess.run([renderer, "--help"], capture_output=True, text=True, timeout=60)
        if run.returncode != 0 or "zorv-render" not in run.stdout:
            fail(f"the installed renderer does not run:\n{run.stdout}{run.stderr}")
        pd_folder = os.path.join(prefix, "lib", "pd", "extra", "zorv.pan~")
        if os.path.exists(os.path.join(BUILD, "pd", "zorv.pan~.pd_linux")):
            for name in ("zorv.pan~.pd_linux", "zorv.pan~-help.pd"):
                if not os.path.isfile(os.path.join(pd_folder, name)):
                    fail(f"{name} is not in {pd_folder}")
        with open(manifest) as f:
            listed = [line.strip() for line in f if line.strip()]
        for path in listed:
            if not path.startswith(prefix + "/"):
                fail(f"the manifest lists {path}, outside the prefix")
            os.remove(path)
        left = [os.path.join(d, n) for d, _, names in os.walk(prefix) for n in names]
        if left:
            fail(f"the manifest misses {left}")
        print(f"installed and removed {len(listed)} files")
    finally:
        shutil.rmtree(prefix, ignore_errors=True)
        if os.path.exists(manifest):
            os.remove(manifest)


if __name__ == "__main__":
    main()
