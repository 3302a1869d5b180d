"""Boxes that everybody can read: contrast, steps that hang under their numbers, long labels."""

import collections

import pytest
from PIL import Image

from harness.editor import Editor
from test_box_look import check_readable
from test_translation import SYSTEM, english, translations, write_translation  # noqa: F401

THEMES = ["Adwaita", "Adwaita-dark", "HighContrast", "HighContrastInverse"]
ENOUGH = 4.5  # to 1: what the guidelines for accessible texts ask for
STEPS = 211   # an error code whose steps follow each other without empty lines


def luminance(color):
    def linear(value):
        value /= 255
        return value / 12.92 if value <= 0.03928 else ((value + 0.055) / 1.055) ** 2.4
    red, green, blue = map(linear, color)
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue


def contrast(one, other):
    dark, light = sorted([luminance(one), luminance(other)])
    return (light + 0.05) / (dark + 0.05)


def text_contrast(picture, area, margin):
    """How the most common colour, the ground, stands out against the strokes of the letters."""
    with Image.open(picture) as image:
        pixels = image.convert("RGB").crop(
            (area.x + margin, area.y + margin, area.x + area.width - margin,
             area.y + area.height - margin)).getdata()
    colors = collections.Counter(pixels)
    ground = colors.most_common(1)[0][0]
    # A colour of more than a few pixels is one of strokes, not of a smoothed edge.
    return max(contrast(ground, color) for color, count in colors.items() if count >= 5)


def contrasts(desktop, box):
    picture = desktop.take_screenshot()
    parts = {button.name: text_contrast(picture, button.extents, 6) for button in box.buttons}
    return parts | {"text": text_contrast(picture, box.text_area.extents, 2)}


@pytest.mark.parametrize("theme", THEMES)
def test_texts_stand_out_with_and_without_the_focus(start_desktop, theme):
    # This window manager tells GTK which window has the focus, and GTK draws the others paler.
    desktop = start_desktop(theme=theme, window_manager="metacity")
    # Themes let colours change by and by: what is measured is to be the last of them.
    settings = desktop.sandbox.home / ".config/gtk-3.0/settings.ini"
    settings.parent.mkdir(parents=True)
    settings.write_text("[Settings]\ngtk-enable-animations=0\n")
    desktop.start_polling_program()
    desktop.service.report("A", "1", STEPS, 3)
    box = desktop.person.wait_for_box("A")
    assert desktop.person.focused_window() != box.window.id
    for turn in (lambda: None, lambda: desktop.person.turn_to(box), lambda: Editor(desktop)):
        turn()
        desktop.settle()
        found = contrasts(desktop, box)
        assert min(found.values()) >= ENOUGH, found


LONG_LABELS = [
    ("Noch einmal versuchen, bitte!!", "Abbrechen"),
    ("Noch einmal versuchen, bitte!!", "Den Druckauftrag ganz abbrechen"),
    ("Den Druckauftrag nach der Behebung noch einmal von vorn beginnen", "Abbrechen"),
    ("Den Druckauftrag nach der Behebung noch einmal von vorn beginnen",
     "Den Druckauftrag ganz abbrechen und diese Karte zu den anderen legen"),
]


@pytest.mark.parametrize("retry, cancel", LONG_LABELS)
def test_long_labels_leave_room_for_one_another(start_desktop, translations, english, retry, cancel):
    labels = {"Retry": retry, "Cancel": cancel}
    write_translation(translations, "de", lambda text: labels.get(text, text))
    desktop = start_desktop(screen="800x600", text_scale=2, replaced={SYSTEM: translations})
    desktop.start_polling_program(environment=english | {"LANGUAGE": "de"})
    desktop.service.report("A", "1", STEPS, 3)
    box = desktop.person.wait_for_box("A")
    assert sorted(box.labels) == sorted(labels.values())
    desktop.take_screenshot()
    check_readable(box, desktop.person.screen_size())
    assert box.window.client.height <= 0.85 * desktop.person.screen_size()[1]
    desktop.person.click(box, cancel)
    assert len(desktop.service.wait_for_commands()) == 1
