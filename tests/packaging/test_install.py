"""What `cmake --install` puts where, and whether the desktop's own tools find it in order."""

import configparser
import email.utils
import os
import re
import socket
import stat
import subprocess
from xml.etree import ElementTree

import polib
import pytest

from gi.repository import Gio, GLib

from support import BUILD, NAME, SIMULATOR, TREE, install, list_files, run


@pytest.fixture(scope="module", name="staged")
def fixture_staged(tmp_path_factory):
    """An installation below /usr that waits in another directory, as for a package."""
    destdir = tmp_path_factory.mktemp("destdir")
    install("/usr", destdir)
    return destdir


@pytest.fixture(scope="module", name="prefix")
def fixture_prefix(tmp_path_factory):
    """An installation with a prefix of its own, ready to run."""
    return install(tmp_path_factory.mktemp("prefix"))


def test_installs_exactly_the_listed_files(staged):
    listed = (TREE / "packaging/installed-files.txt").read_text().splitlines()
    installed = list_files(staged)
    missing = sorted(set(listed) - set(installed))
    unlisted = sorted(set(installed) - set(listed))
    assert (missing, unlisted) == ([], []), (
        f"listed but not installed: {missing}; installed but not listed: {unlisted}; "
        "if that is meant: tests/packaging/list-installed build >packaging/installed-files.txt")
    assert listed == sorted(listed)


def test_the_simulated_service_is_a_component_of_its_own(staged, tmp_path):
    for name in ("program", "simulator"):
        install("/usr", tmp_path / name, name)
    parts = {name: list_files(tmp_path / name) for name in ("program", "simulator")}
    assert sorted(parts["program"] + parts["simulator"]) == list_files(staged)
    assert f"/usr/bin/{SIMULATOR}" in parts["simulator"]
    assert not [path for path in parts["program"] if SIMULATOR in path]


def test_links_between_the_installed_pages_hold(staged):
    pages = list((staged / f"usr/share/doc/{NAME}").rglob("*.md"))
    broken = [f"{page.relative_to(staged)}: {target}" for page in pages
              for target in re.findall(r'\]\(([^)#:]+)\)|src="([^":]+)"', page.read_text())
              for target in filter(None, target) if not (page.parent / target).exists()]
    assert len(pages) > 5 and broken == []


def test_every_manual_of_a_command_has_its_command(staged):
    pages = {page.stem for page in (staged / "usr/share/man/man1").iterdir()}
    assert pages == {command.name for command in (staged / "usr/bin").iterdir()}


def test_modes_let_everybody_use_and_nobody_change(staged):
    programs = {f"/usr/bin/{NAME}", f"/usr/bin/{SIMULATOR}", f"/usr/libexec/{NAME}/{NAME}"}
    wrong = []
    for path in list_files(staged):
        mode = stat.S_IMODE((staged / path[1:]).stat().st_mode)
        if mode != (0o755 if path in programs else 0o644):
            wrong.append((path, oct(mode)))
    assert wrong == []


@pytest.mark.parametrize("file", [
    f"usr/bin/{NAME}", f"usr/lib/systemd/user/{NAME}.service", f"etc/xdg/autostart/{NAME}.desktop",
    f"usr/share/applications/{NAME}.desktop"])
def test_paths_in_a_staged_file_are_those_of_the_final_place(staged, file):
    text = (staged / file).read_text()
    assert str(staged) not in text
    assert not re.search("@[a-z_]+@", text)
    assert "/usr/bin/" in text or f"/usr/libexec/{NAME}/{NAME}" in text


def test_command_starts_the_program_of_its_own_prefix(prefix):
    assert run(prefix / "bin" / NAME, "--getstring", "110").startswith("Message 110: ")
    assert f"'{prefix}/libexec/{NAME}/{NAME}'" in (prefix / "bin" / NAME).read_text()


@pytest.mark.parametrize("name", [
    "with blanks", "$HOME", "${HOME} $$", "a `tick`", "a person's", 'a "quoted" place'])
def test_prefix_may_hold_blanks_and_signs(tmp_path, name):
    prefix = install(tmp_path / name)
    command = prefix / "bin" / NAME
    assert run(command, "--getstring", "110").startswith("Message 110: ")
    # None when TryExec leads nowhere.
    entry = Gio.DesktopAppInfo.new_from_filename(f"{prefix}/etc/xdg/autostart/{NAME}.desktop")
    assert entry is not None
    _, words = GLib.shell_parse_argv(entry.get_commandline())
    assert words == [str(command), "--no-fork"]
    run("desktop-file-validate", entry.get_filename())
    if '"' in name or "'" in name:
        return  # not for systemd: it starts no program at such a path
    unit = prefix / f"lib/systemd/user/{NAME}.service"
    assert run("systemd-analyze", "verify", "--user", unit,
               env=dict(os.environ, MANPATH=f"{prefix}/share/man")) == ""


def test_uninstall_removes_what_was_installed_and_nothing_else(tmp_path):
    root = install("/usr", tmp_path)
    stranger = root / f"share/doc/{NAME}/notes-of-mine"
    stranger.write_text("keep me")
    run("cmake", "--build", BUILD, "--target", "uninstall",
        env=dict(os.environ, DESTDIR=str(tmp_path)))
    assert list_files(tmp_path) == [f"/usr/share/doc/{NAME}/notes-of-mine"]
    own = sorted(path.relative_to(root) for path in root.rglob("*zor-*") if path.is_dir())
    assert [str(path) for path in own] == [f"share/doc/{NAME}"]
    assert (root / "share/man/man1").is_dir()  # others may have pages there


def test_simulator_runs_from_its_own_prefix(prefix):
    assert run(prefix / "bin" / SIMULATOR, "--version").startswith(f"{SIMULATOR} ")


def test_user_unit_is_valid(prefix):
    # It also asks man for the page that the unit names.
    said = run("systemd-analyze", "verify", "--user", f"{prefix}/lib/systemd/user/{NAME}.service",
               env=dict(os.environ, MANPATH=f"{prefix}/share/man"))
    assert said == ""


def read_valid_entry(entry):
    assert run("desktop-file-validate", entry) == ""
    parsed = configparser.ConfigParser(interpolation=None)
    parsed.optionxform = str
    parsed.read(entry)
    return parsed["Desktop Entry"]


def test_autostart_entry_is_valid(prefix):
    keys = read_valid_entry(prefix / "etc/xdg/autostart" / f"{NAME}.desktop")
    assert os.access(keys["TryExec"], os.X_OK)
    assert keys["Exec"] == f'"{keys["TryExec"]}" --no-fork'
    # Where systemd starts the session's programs, the unit does it.
    assert keys["X-systemd-skip"] == keys["X-GNOME-HiddenUnderSystemd"] == "true"


def test_windows_find_their_name_and_icon(prefix):
    keys = read_valid_entry(prefix / "share/applications" / f"{NAME}.desktop")
    # As GTK calls the window's program on Wayland, and in the first part of its class on X11.
    assert keys["StartupWMClass"] == NAME
    assert keys["Name"] == "Card Printer Errors"
    assert (prefix / "share/icons/hicolor/scalable/apps" / f"{keys['Icon']}.svg").exists()
    assert keys["NoDisplay"] == "true" and os.access(keys["TryExec"], os.X_OK)


def test_metainfo_is_valid_and_names_what_is_installed(prefix):
    metainfo = prefix / "share/metainfo/tamarix.error.ui.metainfo.xml"
    # Its status counts what later releases ask for and there is none of: a home page.
    said = subprocess.run(
        ["appstreamcli", "validate", "--no-net", "--format", "yaml", metainfo],
        text=True, capture_output=True).stdout
    said = re.sub('["{},]', "", said)  # the YAML of AppStream 1.2 is JSON, too
    found = dict(re.findall(r"^\W*tag: (\S+)\n *severity: (\S+)$", said, re.M))
    assert "Validator: " in said
    serious = {tag for tag, severity in found.items() if severity in ("warning", "error")}
    assert serious <= {"url-homepage-missing"}, said
    text = metainfo.read_text()
    # The desktop's tools look for the file by the id.
    assert f"<id>{metainfo.name.removesuffix('.metainfo.xml')}</id>" in text
    assert f'<launchable type="service">{NAME}.service</launchable>' in text
    assert f"<binary>{NAME}</binary>" in text


def translations():
    """The installed languages with their texts."""
    found = {path.stem: {entry.msgid: entry.msgstr for entry in polib.pofile(str(path))}
             for path in (TREE / "po").glob("*.po")}
    assert found
    return found


def test_each_language_has_its_texts_where_the_c_library_looks(prefix):
    compiled = {path.parent.parent.name: {entry.msgid: entry.msgstr
                                          for entry in polib.mofile(str(path))}
                for path in (prefix / "share/locale").rglob("messages.mo")}
    # A compiled file has no texts that are not translated.
    assert compiled == {language: {old: new for old, new in texts.items() if new}
                        for language, texts in translations().items()}


def test_the_desktop_knows_the_program_in_each_language(prefix):
    name, comment = "Card Printer Errors", "Show the errors of card printers and take the answers"
    entries = list(prefix.rglob("*.desktop"))
    metainfo = (prefix / "share/metainfo/tamarix.error.ui.metainfo.xml").read_text()
    assert len(entries) == 2
    for language, texts in translations().items():
        for entry in entries:
            lines = entry.read_text().splitlines()
            assert f"Name[{language}]={texts[name]}" in lines, entry
            assert f"Comment[{language}]={texts[comment]}" in lines, entry
        # From gettext 0.23 on: pt-BR instead of pt_BR, zh-Hans-CN instead of zh_CN.
        tag = language.replace("_", "(?:_|-|-Hans-)")
        for element, text in (("name", texts[name]), ("summary", texts[comment])):
            line = f'<{element} xml:lang="{tag}">{re.escape(text)}</{element}>'
            assert re.search(line, metainfo), line


def test_icons_have_the_sizes_of_their_directories(prefix):
    icons = list((prefix / "share/icons/hicolor").rglob("*.png"))
    assert icons
    for png in icons:
        header = png.read_bytes()[:24]
        size = (int.from_bytes(header[16:20], "big"), int.from_bytes(header[20:24], "big"))
        assert png.parent.parent.name == f"{size[0]}x{size[1]}"


@pytest.fixture(name="log")
def fixture_log():
    """The system log of the sandbox, as a socket."""
    path = "/dev/log"
    if os.path.exists(path):
        os.unlink(path)
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as log:
        log.bind(path)
        log.setblocking(False)
        yield log
    os.unlink(path)


def lines_logged(log, prefix):
    run(prefix / "bin" / NAME, "--getstring", "110")
    lines = []
    while True:
        try:
            lines.append(log.recv(65536).decode())
        except BlockingIOError:
            return lines


def test_example_configuration_logs_nothing_until_its_number_is_changed(prefix, log):
    example = (prefix / "share/doc" / NAME / "examples/zor-card-printer.conf").read_text()
    configuration = "/etc/zor-card-printer.conf"
    try:
        with open(configuration, "w") as file:
            file.write(example)
        assert lines_logged(log, prefix) == []
        with open(configuration, "w") as file:
            file.write(example.replace("diagnostics.level = 0", "diagnostics.level = 1"))
        assert any("looked up string: 110=" in line for line in lines_logged(log, prefix))
    finally:
        os.unlink(configuration)


def release_of_changelog():
    text = (TREE / "CHANGELOG.md").read_text()
    return re.search(r"^## \[(\d+\.\d+\.\d+)\] - (\d{4}-\d\d-\d\d)$", text, re.M).groups()


def release_of_man_page(path):
    heading = path.read_text().replace("\\-", "-")
    date, version = re.search(rf'^\.TH \S+ \d (\S+) "{NAME} (\S+)"', heading, re.M).groups()
    return version, date


def release_of_packages():
    text = (TREE / "packaging/debian/changelog").read_text()
    version = re.match(rf"{NAME} \((\S+)\)", text).group(1)
    date = email.utils.parsedate_to_datetime(re.search(r"^ -- .*>  (.*)$", text, re.M).group(1))
    return version, f"{date:%Y-%m-%d}"


def release_of_metainfo():
    release = ElementTree.parse(next((TREE / "packaging").glob("*.metainfo.xml"))).find(".//release")
    return release.get("version"), release.get("date")


def test_every_place_names_the_same_release(prefix):
    pages = sorted((TREE / "docs/man").iterdir())
    assert pages
    places = {"packages": release_of_packages(), "metainfo": release_of_metainfo(),
              **{page.name: release_of_man_page(page) for page in pages}}
    release = release_of_changelog()
    assert places == dict.fromkeys(places, release)
    cmake = (TREE / "CMakeLists.txt").read_text()
    assert re.search(r"^project\(.* VERSION (\S+) ", cmake, re.M).group(1) == release[0]
    assert run(prefix / "bin" / SIMULATOR, "--version").split()[-1] == release[0]
