"""The packages: built, checked, installed into a clean root, run, upgraded, and gone again.

Takes minutes, and needs root and the package archive that apt is set up for.
"""

import hashlib
import os
import pathlib
import re
import shutil
import stat
import subprocess

import polib
import pytest

from support import BUILD, NAME, PACKAGES, TREE, run

pytestmark = pytest.mark.skipif(
    os.getuid() != 0, reason="a root directory to install into can only be made as root")

WORK = BUILD / "package-test"
ROOT = WORK / "root"
VERSION = (TREE / "packaging/debian/changelog").read_text().split("(")[1].split(")")[0]
NEXT_VERSION = VERSION + "+next"

# Changed by every call of dpkg and apt; that no package is left is asked from dpkg itself.
JOURNALS = ("/var/cache/", "/var/lib/apt/", "/var/lib/dpkg/", "/var/log/", "/dev/", "/proc/", "/sys/")


@pytest.fixture(scope="module", autouse=True)
def fixture_work():
    shutil.rmtree(WORK, ignore_errors=True)
    WORK.mkdir(parents=True)
    yield
    shutil.rmtree(WORK)


def build_packages(version, build_options="", output=None, **environment):
    output = output or WORK / version
    run(TREE / "scripts/build-packages", "--source", "--version", version, "--output", output,
        env=dict(os.environ, DEB_BUILD_OPTIONS=build_options, **environment))
    return output


@pytest.fixture(scope="module", name="packages")
def fixture_packages():
    return build_packages(VERSION)


@pytest.fixture(scope="module", name="next_packages")
def fixture_next_packages():
    return build_packages(NEXT_VERSION, "noopt noautodbgsym")


def package_files(directory):
    files = [next(directory.glob(f"{name}_*.deb")) for name in PACKAGES]
    assert len(files) == len(PACKAGES)
    return files


def dependencies(directory):
    """The names of the packages that these ones depend on, of alternatives the first."""
    names = set()
    for file in package_files(directory):
        field = run("dpkg-deb", "--field", file, "Depends")  # the translations need nothing
        names |= set(re.findall(r"(?:^|,)\s*([a-z0-9.+-]+)", field))
    return names


@pytest.fixture(scope="module", name="root")
def fixture_root(packages):
    """A root directory with Debian's smallest system and what the packages depend on, no more."""
    system = run("sh", "-c", ". /etc/os-release && echo $ID").strip()
    sources = sorted(set(run(
        "apt-get", "indextargets", "--format", "deb $(REPO_URI) $(RELEASE) $(COMPONENT)",
        "Created-By: Packages", f"Origin: {system.capitalize()}").splitlines()))
    release = min(line.split()[2] for line in sources)  # not its updates: their names are longer
    # The way to the archive is this machine's.
    ways = re.findall("^Acquire::(?:Check-|https?::).*$", run("apt-config", "dump"), re.M)
    run("mmdebstrap", "--variant=minbase", *(f"--aptopt={way}" for way in ways),
        "--include=" + ",".join(sorted(dependencies(packages) | {"apt"})),
        release, ROOT, "-", input="\n".join(sources) + "\n")
    return ROOT


def in_root(*command):
    environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "DEBIAN_FRONTEND": "noninteractive",
                   "LC_ALL": "C.UTF-8"}
    return run("chroot", ROOT, *command, env=environment)


def install_packages(directory):
    for file in package_files(directory):
        shutil.copy(file, ROOT / "tmp")
    try:
        in_root("sh", "-c", "dpkg --install /tmp/*.deb")
    finally:
        for file in (ROOT / "tmp").glob("*.deb"):
            file.unlink()


def installed_versions():
    listed = in_root("dpkg-query", "--show", "--showformat", "${Package} ${Version} ${Status}\n")
    return sorted(line for line in listed.splitlines() if line.startswith(("zor-",)))


def snapshot():
    """Each path below the root with its type, mode and content."""
    found = {}
    for path in sorted(ROOT.rglob("*")):
        name = f"/{path.relative_to(ROOT)}"
        if name.startswith(JOURNALS):
            continue
        status = path.lstat()
        content = ""
        if stat.S_ISLNK(status.st_mode):
            content = os.readlink(path)
        elif stat.S_ISREG(status.st_mode):
            content = hashlib.sha256(path.read_bytes()).hexdigest()
        found[name] = (oct(status.st_mode), content)
    return found


def difference(before, after):
    return sorted(
        f"{'new' if name not in before else 'gone' if name not in after else 'changed'}: {name}"
        for name in before.keys() | after.keys() if before.get(name) != after.get(name))


def answer_an_error_in_root(*language_and_text):
    run(TREE / "tests/sandbox", "--display", "--writable", BUILD,
        TREE / "tests/packaging/answer-in-root", ROOT, *language_and_text,
        env=dict(os.environ, PYTHONDONTWRITEBYTECODE="1"), timeout=300)


def german_box():
    """What the box of message 110 says in German."""
    texts = {entry.msgid: entry.msgstr for entry in polib.pofile(str(TREE / "po/de.po"))}
    title = "Message 110: Print ribbon out or missing."
    body = next(msgid for msgid in texts if msgid.startswith("The print ribbon is out or missing."))
    assert texts[title] not in ("", title)
    return f"{texts[title]}\n\n{texts[body]}"


def test_lintian_has_nothing_to_say(packages):
    changes = next(packages.glob("*.changes"))
    said = run("lintian", "--profile=debian", "--allow-root", "--display-info", "--pedantic",
               "--tag-display-limit=0", changes)
    # There is no home page; releases differ in their standards and in what goes without saying.
    explained = ("^N:|: appstream-metadata-validation-failed |: out-of-date-standards-version |"
                 ": package-uses-old-debhelper-|: redundant-(priority|rules)-")
    assert [line for line in said.splitlines() if not re.search(explained, line)] == []


def test_packages_are_the_same_when_built_again(packages):
    """Elsewhere and later, for a person in another place with other habits."""
    again = build_packages(
        VERSION, output=WORK / "again", TZ="Pacific/Kiritimati", LC_ALL="C", LANGUAGE="de",
        HOME="/nonexistent")
    first, second = ({path.name: hashlib.sha256(path.read_bytes()).hexdigest()
                      for path in sorted(directory.glob("*.*deb")) + sorted(directory.glob("*.tar.*"))}
                     for directory in (packages, again))
    assert len(first) >= 3 and first == second


def test_packages_hold_the_installed_files(packages):
    contents = set()
    for file in package_files(packages):
        listing = subprocess.run(
            ["sh", "-c", 'dpkg-deb --fsys-tarfile "$1" | tar -t', "sh", str(file)],
            check=True, text=True, stdout=subprocess.PIPE).stdout
        contents.update(line[1:] for line in listing.splitlines() if not line.endswith("/"))
    listed = set((TREE / "packaging/installed-files.txt").read_text().splitlines())
    # Debian compresses manual pages and adds two files to each package.
    expected = {f"{path}.gz" if path.startswith("/usr/share/man/") else path for path in listed}
    for name in PACKAGES:
        expected |= {f"/usr/share/doc/{name}/changelog.gz", f"/usr/share/doc/{name}/copyright"}
        if (TREE / f"packaging/debian/{name}.lintian-overrides").exists():
            expected.add(f"/usr/share/lintian/overrides/{name}")
    assert sorted(contents ^ expected) == []


@pytest.fixture(scope="module", name="rpms")
def fixture_rpms():
    output = WORK / "rpm"
    run(TREE / "scripts/build-rpm", "--output", output)
    files = sorted(path for path in output.glob("*.rpm")
                   if not path.name.endswith(".src.rpm") and "-debuginfo-" not in path.name)
    assert len(files) == len(PACKAGES)
    return files


@pytest.fixture(name="rpm_root")
def fixture_rpm_root(tmp_path):
    """A root directory with a database of packages, and with what their scripts call."""
    for program in ("/bin/sh", "/usr/bin/systemctl"):
        for file in (program, *re.findall(r"/[^ ]+(?= \()", run("ldd", program))):
            (tmp_path / file[1:]).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(file, tmp_path / file[1:])
    (tmp_path / "dev").mkdir()
    os.mknod(tmp_path / "dev/null", stat.S_IFCHR | 0o666, os.makedev(1, 3))
    run("rpm", "--root", tmp_path, "--initdb")
    return tmp_path


def test_rpm_packages_hold_the_installed_files(rpms):
    contents = {path.removesuffix(".gz") for file in rpms
                for path in run("rpm", "--query", "--list", "--package", file).splitlines()
                if "/.build-id" not in path}
    expected = set((TREE / "packaging/installed-files.txt").read_text().splitlines())
    expected.add(f"/usr/lib/systemd/user-preset/90-{NAME}.preset")
    # The packages own their directories too.
    directories = {path for path in contents - expected
                   if any(file.startswith(f"{path}/") for file in expected)}
    assert sorted((contents - directories) ^ expected) == []


def test_rpm_scripts_enable_the_unit_once_and_leave_no_trace(rpms, rpm_root):
    unit = f"{NAME}.service"
    wanted = rpm_root / "etc/systemd/user/graphical-session.target.wants" / unit
    run("rpm", "--root", rpm_root, "--install", "--nodeps", *rpms)
    assert wanted.is_symlink()
    run("chroot", rpm_root, "systemctl", "--global", "disable", unit)
    run("rpm", "--root", rpm_root, "--upgrade", "--nodeps", "--force", *rpms)
    assert not wanted.is_symlink(), "what the administrator disabled stays so"
    run("chroot", rpm_root, "systemctl", "--global", "enable", unit)
    run("rpm", "--root", rpm_root, "--erase", *PACKAGES)
    assert [path for path in rpm_root.rglob("*zor-*")] == []
    assert not wanted.is_symlink()

    preset = rpm_root / "etc/systemd/user-preset/10-no-card-printer.preset"
    preset.parent.mkdir(parents=True)
    preset.write_text(f"disable {unit}\n")
    run("rpm", "--root", rpm_root, "--install", "--nodeps", *rpms)
    assert not wanted.is_symlink(), "an administrator's preset comes first"


def test_copyright_grants_no_licence(packages):
    text = run("sh", "-c", 'dpkg-deb --fsys-tarfile "$1" | tar -xO "./usr/share/doc/$2/copyright"',
               "sh", package_files(packages)[0], NAME)
    assert "No licence has been granted yet" in text


def test_packages_come_work_upgrade_and_go(root, packages, next_packages):
    before = snapshot()

    install_packages(packages)
    assert installed_versions() == [
        f"{name} {VERSION} install ok installed" for name in sorted(PACKAGES)]
    wanted = "etc/systemd/user/graphical-session.target.wants"
    assert (root / wanted / f"{NAME}.service").is_symlink()
    answer_an_error_in_root()

    answer_an_error_in_root("de", german_box())

    install_packages(next_packages)
    assert installed_versions() == [
        f"{name} {NEXT_VERSION} install ok installed" for name in sorted(PACKAGES)]
    answer_an_error_in_root()

    in_root("dpkg", "--remove", *PACKAGES)
    left = [line for line in difference(before, snapshot()) if not line.startswith("changed: /etc")]
    assert pathlib.Path(f"/etc/xdg/autostart/{NAME}.desktop") in {
        pathlib.Path(line.split(": ")[1]) for line in left}, "a setting that only purge may remove"
    assert not any("/usr/" in line for line in left)

    in_root("dpkg", "--purge", *PACKAGES)
    assert difference(before, snapshot()) == []
    assert installed_versions() == []


def test_packages_pass_the_test_that_they_bring(root, packages):
    """In the root from before, which autopkgtest fills with what the test names."""
    shutil.copy("/etc/resolv.conf", root / "etc/resolv.conf")
    source = next(packages.glob("*.dsc"))
    in_root("apt-get", "update")  # a fresh root has no lists of what the archive holds
    # The network, with its port 1753, stays this machine's, for the package archive.
    run("unshare", "--mount", "--pid", "--fork", "--kill-child", "sh", "-euc",
        'mount -t proc proc "$1/proc"; mount --bind /dev "$1/dev"; shift; exec "$@"', "sh", root,
        "autopkgtest", "--ignore-restrictions=isolation-container", *package_files(packages), source,
        "--", "chroot", root)
