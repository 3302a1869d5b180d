"""The terms of docs/glossary.md and where they occur in the English texts; for the scripts here."""

import pathlib
import re

TREE = pathlib.Path(__file__).resolve().parent.parent
GLOSSARY = TREE / "docs/glossary.md"


def tables_of(heading):
    """The rows of the tables under a heading, each a tuple of its cells."""
    section = GLOSSARY.read_text().split(f"\n## {heading}\n")[1].split("\n## ")[0]
    rows = [tuple(cell.strip() for cell in line.strip("| ").split(" | "))
            for line in section.splitlines() if line.startswith("|") and "---" not in line]
    return rows[1:]


def forms_of_terms():
    """Each term with a pattern of its forms: the term itself and what stands in quotation marks in
    its description."""
    forms = {}
    for term, description, *_ in tables_of("Terms"):
        forms[term] = Pattern([term, *re.findall(r'"([^"]+)"', description)])
    return forms


class Pattern:
    """A pattern of English words with their plurals."""

    def __init__(self, words):
        plurals = [word[:-1] + "ies" for word in words if word.endswith("y")]
        longest_first = sorted(words + plurals, key=len, reverse=True)
        alternatives = "|".join(re.escape(word) for word in longest_first)
        self._words = [word.lower() for word in longest_first]
        self._pattern = re.compile(rf"(?<![\w-])(?:{alternatives})(?:s|es)?(?![\w-])", re.IGNORECASE)

    def finditer(self, text, lower_case_text):
        # Nearly all patterns are not in a given text, and this tells it in a fraction of the time.
        if any(word in lower_case_text for word in self._words):
            return self._pattern.finditer(text)
        return ()


def occurrences(text, forms):
    """What of a text is a term: the words as they stand there, each with the terms that they can be.
    The longest match wins: a "card hopper" is no "hopper"."""
    text = " ".join(text.split())
    lower_case_text = text.lower()
    matches = {}
    for term, pattern in forms.items():
        for match in pattern.finditer(text, lower_case_text):
            matches.setdefault(match.span(), []).append(term)
    taken, found = set(), []
    for (start, end), terms in sorted(matches.items(), key=lambda item: item[0][0] - item[0][1]):
        if taken.isdisjoint(range(start, end)):
            taken.update(range(start, end))
            found.append((text[start:end], terms))
    return found


def terms_in(text, forms):
    """The terms that occur in a text."""
    return sorted({terms[0] for _, terms in occurrences(text, forms)}, key=str.lower)
