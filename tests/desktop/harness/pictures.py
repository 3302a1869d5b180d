"""Comparing what is on the screen with picture files."""

from PIL import Image, ImageChops, ImageStat

BLACK = 0, 0, 0
RED = 192, 28, 40  # of the stop sign; nothing else on the desktops of the tests has it


def difference(screenshot, area, picture):
    """How much a part of a screenshot differs from a picture file scaled to it: 0 to 255.

    Where the picture is transparent it shows what is in the upper left corner of the area.
    """
    with Image.open(screenshot) as screen, Image.open(picture) as image:
        seen = screen.convert("RGB").crop(
            (area.x, area.y, area.x + area.width, area.y + area.height))
        icon = image.convert("RGBA").resize(seen.size)
        expected = Image.new("RGB", seen.size, seen.getpixel((0, 0)))
        expected.paste(icon, mask=icon)
        means = ImageStat.Stat(ImageChops.difference(seen, expected)).mean
    return sum(means) / len(means)


def most_similar(screenshot, area, pictures):
    """Which of the picture files a part of a screenshot shows."""
    return min(pictures, key=lambda picture: difference(screenshot, area, picture))


def find_color(screenshot, color, tolerance=6):
    """The smallest part of a screenshot that holds all of a colour: (left, top, right, bottom).

    None where there is none of it.
    """
    with Image.open(screenshot) as screen:
        planes = screen.convert("RGB").split()
    masks = [plane.point(lambda value, wanted=wanted: 255 * (abs(value - wanted) <= tolerance))
             for plane, wanted in zip(planes, color, strict=True)]
    return ImageChops.darker(ImageChops.darker(*masks[:2]), masks[2]).getbbox()
