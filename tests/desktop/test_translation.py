"""A translated box, through the default text domain and the system's directory of translations."""

import subprocess

import polib
import pytest

from harness.sandbox import TREE, build_directory

SYSTEM = "/usr/share/locale"
ACCENTED = str.maketrans("aeiouAEIOU", "äéîöüÄÉÎÖÜ")
HEBREW = "שלום"


def pseudo(text):
    """Plainly not English, longer, and still to be read by whoever looks at a failed test."""
    return "«" + text.translate(ACCENTED) + "»"


def right_to_left(text):
    return HEBREW + " " + text


def write_translation(directory, language, translate):
    """Compiles a translation of every text into the default text domain of this language."""
    catalogue = polib.pofile(str(TREE / "po/messages.pot"))
    catalogue.metadata["Content-Type"] = "text/plain; charset=UTF-8"
    for entry in catalogue:
        entry.msgstr = translate(entry.msgid)
    target = directory / language / "LC_MESSAGES"
    target.mkdir(parents=True, exist_ok=True)
    catalogue.save_as_mofile(str(target / "messages.mo"))


def make_locale(translations, name):
    """Compiles a locale that the machine need not have; returns the environment that has it."""
    (translations / "compiled").mkdir(exist_ok=True)
    language, charset = name.split(".")
    subprocess.run(["localedef", "--no-archive", "-i", language, "-f", charset,
                    translations / "compiled" / name], check=True, capture_output=True)
    return {"LANG": name, "LOCPATH": f"{SYSTEM}/compiled"}


@pytest.fixture
def translations(tmp_path):
    """Stands in for the system's directory of translations."""
    directory = tmp_path / "locale"
    write_translation(directory, "de", pseudo)
    write_translation(directory, "he", right_to_left)
    # GTK asks its own translation which way the language is written.
    gtk = polib.POFile()
    gtk.metadata["Content-Type"] = "text/plain; charset=UTF-8"
    gtk.append(polib.POEntry(msgid="default:LTR", msgstr="default:RTL"))
    gtk.save_as_mofile(str(directory / "he/LC_MESSAGES/gtk30.mo"))
    return directory


@pytest.fixture
def english(translations):
    """The environment of a person whose locale is English; C.UTF-8 may translate nothing."""
    return make_locale(translations, "en_US.UTF-8")


def show_box(start_desktop, translations, environment):
    desktop = start_desktop(replaced={SYSTEM: translations})
    desktop.start_polling_program(environment=environment)
    desktop.service.report("Front desk", "1", 110, 3)
    return desktop, desktop.person.wait_for_box("Front desk")


def check_translated(desktop, box, translate):
    title = translate("Message 110: Print ribbon out or missing.")
    assert box.text.startswith(title + "\n\n")
    body = box.text.removeprefix(title + "\n\n")
    catalogue = polib.pofile(str(TREE / "po/messages.pot"))
    english = next(entry.msgid for entry in catalogue if "Message id: 1110" in entry.comment)
    assert body == translate(english)
    assert sorted(box.labels) == sorted([translate("Retry"), translate("Cancel")])
    assert box.title == "Front desk"


def test_language_translates_the_box(start_desktop, translations, english):
    desktop, box = show_box(start_desktop, translations, english | {"LANGUAGE": "de"})
    desktop.take_screenshot("translated")
    check_translated(desktop, box, pseudo)
    desktop.person.click(box, pseudo("Retry"))
    assert len(desktop.service.wait_for_commands()) == 1


@pytest.mark.parametrize("locale", ["de_DE.UTF-8", "de_DE.ISO-8859-1"])
def test_lang_translates_the_box(start_desktop, translations, locale):
    desktop, box = show_box(start_desktop, translations, make_locale(translations, locale))
    check_translated(desktop, box, pseudo)


def test_a_language_from_right_to_left_mirrors_the_box(start_desktop, translations, english):
    desktop, box = show_box(start_desktop, translations, english | {"LANGUAGE": "he"})
    check_translated(desktop, box, right_to_left)
    desktop.take_screenshot("right-to-left")
    assert box.icon.extents.x > box.text_area.extents.x
    # From left to right; Retry comes first on the right.
    assert box.labels == [right_to_left("Cancel"), right_to_left("Retry")]
    assert box.buttons[0].extents.x < box.text_area.extents.x + 10


def test_a_language_without_translation_shows_english(start_desktop, translations, english):
    _, box = show_box(start_desktop, translations, english | {"LANGUAGE": "fr"})
    assert box.labels == ["Retry", "Cancel"]
    assert box.text.startswith("Message 110: Print ribbon out or missing.\n\n")


def test_the_lookup_stays_english(start_desktop, translations, english):
    desktop = start_desktop(replaced={SYSTEM: translations}, window_manager=None)
    program = build_directory() / "zor-card-printer-error-ui"
    status, output, _ = desktop.sandbox.run([program, "--getstring", "36"],
                                            environment=english | {"LANGUAGE": "de"})
    assert (status, output) == (0, b"OK\n")
