"""scripts/check-translations against a whole translation into a language that nobody speaks, and
against the same one with one thing wrong."""

import functools
import pathlib
import re
import subprocess
import sys

import polib
import pytest

TREE = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(TREE / "scripts"))
import glossary  # pylint: disable=wrong-import-position

HEADER = "kind\tEnglish\ttranslation\tforms\tnote"
RIBBON_OUT = "Message 110: Print ribbon out or missing."
# Texts in which the tests find all that they spoil, by their comments; a run takes half as long.
ENOUGH = (r"^Message id: (36|IDS_RETRY|IDS_CANCEL|109|110|111|112|202|243|1102|1109|1110|1111|1112|"
          r"1123, 1170|1306|1317)$|"
          r"No box shows it|^What a box shows")
RIBBON_PROBLEM = "Message 109: Print ribbon problem."
CALL = "If the problem continues, call for service."


@functools.cache
def words_of_terms():
    """Each term of the glossary with the words that stand for it in the English texts."""
    forms = glossary.forms_of_terms()
    found = {term: {term} for term in forms}
    for entry in polib.pofile(str(TREE / "po/messages.pot")):
        for words, terms in glossary.occurrences(entry.msgid, forms):
            for term in terms:
                found[term].add(words.lower())
    return found


def pseudo(text):
    """Every word with an "a" behind it; names such as C1 and numbers stay."""
    words = re.sub(r"\b(?![A-Z]{1,3}[0-9])([^\W\d]+)\b", r"\1a", text.replace("Mesage", "Message"))
    return words if not text.strip() else re.sub(" +", " ", re.sub(" +$", "", words, flags=re.M))


def arabic(text):
    """Every word is the same Arabic one."""
    return re.sub(r"[A-Za-z_]+", "كلمة", pseudo(text))


def translated_page(code, translate):
    """The operators' page with what the script looks at in another language."""
    page = (TREE / "docs/operator.md").read_text(encoding="utf-8")
    languages = (TREE / "po/LINGUAS").read_text().splitlines()[-1].split()
    if "](operator.md)" not in page:
        links = [f"[{name}](operator{name}.md)" for name in ["", *(f".{l}" for l in languages)]]
        page = " ".join(links) + "\n\n" + page
    page = page.replace("(pictures/", f"(pictures/{code}/")
    page = re.sub(r"(?<=\*\*)(Retry|Cancel|OK)(?=\*\*)", lambda m: translate(m[0]), page)
    page = re.sub(r"(?<=`)(Message 110:[^`]*|UNEXPECTED_TEXT_KEY:)",
                  lambda m: translate(m[0]), page)
    start = page.rindex("\n\n|")
    return page[:start] + re.sub(r"^\| [^|]+ \|", lambda m: translate(m[0]), page[start:],
                                 flags=re.M)


class Language:
    """A tree with the template, and a translation that can be spoiled."""

    def __init__(self, tree, code="xx", translate=pseudo, only=ENOUGH):
        self.tree, self.code = tree, code
        (tree / "po/glossary").mkdir(parents=True)
        self.po = polib.pofile(str(TREE / "po/messages.pot"), wrapwidth=0)
        for entry in [entry for entry in self.po if not re.search(only, entry.comment, re.M)]:
            self.po.remove(entry)
        self.po.save(str(tree / "po/messages.pot"))
        self.po.metadata_is_fuzzy = False
        self.po.metadata.update({
            "Project-Id-Version": "zor-card-printer-error-ui", "Language": code,
            "PO-Revision-Date": "2026-11-20 12:00+0000", "Last-Translator": "Nobody",
            "Language-Team": "none"})
        for entry in self.po:
            entry.msgstr = translate(entry.msgid)
        self.rows = [["term", term, translate(term), "|".join(map(translate, sorted(words))), ""]
                     for term, words in words_of_terms().items()]
        self.rows += [["phrase", phrase, translate(phrase), "", ""]
                      for phrase, *_ in glossary.tables_of("Phrases that come back")
                      if "..." not in phrase]
        (tree / "docs").mkdir()
        self.page = translated_page(code, translate)

    def text(self, msgid):
        return next(entry for entry in self.po if entry.msgid.startswith(msgid))

    def body(self, message_id):
        return next(entry for entry in self.po
                    if re.search(rf"^Message id: (.*, )?{message_id}(,|$)", entry.comment, re.M))

    def row(self, english):
        return next(row for row in self.rows if row[1] == english)

    def check(self, *options):
        """The exit status and the lines of the script."""
        self.po.save(str(self.tree / f"po/{self.code}.po"))
        (self.tree / f"po/glossary/{self.code}.tsv").write_text(
            "\n".join([HEADER, *("\t".join(row) for row in self.rows), ""]))
        (self.tree / f"docs/operator.{self.code}.md").write_text(self.page)
        run = subprocess.run(
            [TREE / "scripts/check-translations", "--tree", self.tree, *options, self.code],
            capture_output=True, text=True, check=False)
        assert not run.stderr
        return run.returncode, run.stdout.splitlines()

    def assert_whole(self, *options):
        assert self.check(*options) == (0, [f"{self.code}: 0 problems"])

    def assert_problem(self, *words, options=()):
        """The script ends with 1 and has one line with all these words."""
        status, lines = self.check(*options)
        assert status == 1
        matching = [line for line in lines if all(word in line for word in words)]
        assert len(matching) == 1, lines
        return matching[0]


@pytest.fixture(name="language")
def make_language(tmp_path):
    return Language(tmp_path)


def test_a_whole_translation_is_accepted(tmp_path):
    Language(tmp_path, only="").assert_whole()


def test_what_is_untranslated_is_named_with_line_id_and_first_words(language):
    language.text(RIBBON_OUT).msgstr = ""
    line = language.assert_problem("not translated")
    assert re.match(r'po/xx\.po:\d+: \[110\] "Message 110: Print ribbon out or missing\.": ', line)
    language.assert_whole("--so-far")


def test_what_is_fuzzy_or_missing_or_too_much_is_named(language):
    language.text(RIBBON_OUT).flags.append("fuzzy")
    language.text("Message 111").msgid = "Message 111: Other."
    language.assert_problem("110", "fuzzy")
    language.assert_problem("[111]", "is missing")
    language.assert_problem("Other", "no text of the template")


def test_msgfmt_is_asked(language):
    language.po.metadata["Content-Type"] = "text/plain; charset=nonsense"
    assert any("msgfmt" in line for line in language.check()[1])


def test_the_header_names_the_language(language):
    language.po.metadata["Language"] = "yy"
    language.assert_problem("Language: xx")


@pytest.mark.parametrize("old, new", [
    ("\n\n2. ", "\n2. "), ("\n\n2. ", "\n\n3. "), ("\n\n2. ", " "), ("\n\n2. ", "\n\n"),
    ("\n\n2. ", "\n\n2) ")])
def test_lines_and_steps_are_those_of_the_english_text(language, old, new):
    entry = language.body(1110)
    assert old in entry.msgstr
    entry.msgstr = entry.msgstr.replace(old, new)
    language.assert_problem("[1110]", "lines and steps")


def test_a_title_begins_with_word_number_and_colon(language):
    entry = language.text(RIBBON_OUT)
    whole = entry.msgstr
    for spoiled in (whole.replace("110:", "110"), whole.replace("Messagea ", ""),
                    "Aa " + whole):
        entry.msgstr = spoiled
        language.assert_problem("[110]", "the title must begin with")
    entry.msgstr = whole.replace("110:", "111:")
    language.assert_problem("[110]", "the title must begin with")
    language.assert_problem("[110]", "the number 110 is missing")
    entry.msgstr = whole.replace("Messagea", "Texta")
    language.assert_problem("the title begins with")


def test_names_and_numbers_are_kept(language):
    entry = language.text("Message 202: L1 supply out or missing.")
    entry.msgstr = entry.msgstr.replace("L1", "L2")
    language.assert_problem("[202]", "L1 is missing")
    language.assert_problem("[202]", "L2 is not in the English text")
    entry = language.body(1110)
    entry.msgstr = entry.msgstr.replace("ribbona isa outa", "ribbona isa outa 45")
    language.assert_problem("[1110]", "the number 45 is not in the English text")
    entry = language.body(1102)
    entry.msgstr = entry.msgstr.replace("30", "٣٠")
    language.assert_problem("[1102]", "the number 30 is missing")


def test_the_number_of_a_step_does_not_stand_for_a_number_of_the_text(language):
    entry = language.body(1123)
    entry.msgstr = re.sub("idea 1", "idea", entry.msgstr)
    language.assert_problem("[1123, 1170]", "the number 1 is missing")


def test_a_copy_of_the_english_text_needs_a_row(language):
    language.text("Suspend printing").msgstr = "Suspend printing"
    language.assert_problem("Suspend printing", "a copy of the English text")
    language.rows.append(["copy", "Suspend printing", "", "", "the same word"])
    language.assert_whole()
    language.text("Suspend printing").msgstr = "Suspenda printinga"
    language.assert_problem('"copy" that allows nothing')


def test_a_line_left_in_english_is_named(language):
    entry = language.body(1110)
    entry.msgstr = entry.msgstr[:entry.msgstr.rindex("\n")] + "\n" + entry.msgid.split("\n")[-1]
    language.assert_problem("[1110]", "a line is still English")


def test_a_term_needs_its_word_or_one_of_its_forms(language):
    entry = language.text(RIBBON_PROBLEM)
    entry.msgstr = "Messagea 109: tapea."
    language.assert_problem("[109]", 'the term "Print ribbon" without its translation')
    language.row("print ribbon")[3] += "|tapes*"
    language.assert_problem("[109]", 'the term "Print ribbon"')
    language.row("print ribbon")[3] += "|tape*"
    language.assert_whole()


def test_a_word_inside_another_one_is_no_term(language):
    language.text("Message 243: Card lost").msgstr = "Messagea 243: Postcarda losta"
    language.assert_problem("[243]", 'the term "Card" without')


def test_a_form_of_two_parts_reaches_over_a_sentence_and_no_farther(language):
    entry = language.text(RIBBON_PROBLEM)
    language.row("print ribbon")[3] += "|printa ... ribbona"
    entry.msgstr = "Messagea 109: Printa verya longa ribbona outa."
    language.assert_whole()
    entry.msgstr = "Messagea 109: Printa outa. Longa ribbona outa."
    language.assert_problem("[109]", 'the term "Print ribbon"')


def test_the_longer_term_is_wanted_and_not_the_one_in_it(language):
    entry = language.text("Message 112: Card hopper empty.")
    entry.msgstr = "Messagea 112: Carda magazinea emptya."
    language.assert_problem("[112]", 'the term "Card hopper" without')


def test_a_text_may_do_without_a_term_where_a_row_says_so(language):
    language.text(RIBBON_PROBLEM).msgstr = "Messagea 109: tapea."
    language.rows.append(["without", "print ribbon", "", "109|111", "a pronoun"])
    language.assert_problem('"without" that allows nothing: "print ribbon" in 111')
    language.rows[-1][3] = "109"
    language.assert_whole()


def test_a_term_of_its_own_is_checked_as_well(language):
    language.rows.append(["term", "missing", "gonea", "", ""])
    assert any('[110] "Message 110' in line and 'the term "missing"' in line
               for line in language.check()[1])


def test_a_phrase_is_wanted_word_for_word(language):
    language.row(CALL)[2] = "Calla thea servicea."
    assert any("[1102]" in line and f'the phrase "{CALL}"' in line
               for line in language.check()[1])
    language.row(CALL)[3] = pseudo(CALL)
    language.assert_whole()


def test_a_phrase_may_have_open_places(language):
    language.rows.append(["phrase", "Wind a loose ... tight.", "Rewinda ... tighta.", "", ""])
    assert any("[1109]" in line and "the phrase" in line for line in language.check()[1])
    language.rows[-1][2] = "Winda aa loosea ... tighta."
    language.assert_whole()


def test_a_line_that_comes_back_is_worded_as_before(language):
    entry = language.body(1112)
    assert entry.msgstr.endswith(pseudo(CALL))
    entry.msgstr += " Calla."
    language.assert_problem("[1112]", f'the line "{CALL}" is here')
    language.rows.append(["varies", CALL, "", "", "a reason"])
    language.assert_whole()


def test_the_keys_of_buttons_are_no_part_of_their_words(language):
    for label, marked in (("OK", "O_Ka"), ("Retry", "_Retrya"), ("Cancel", "_Cancela")):
        language.text(label).msgstr = marked
    language.assert_whole()
    language.text("Retry").msgstr = "Retr_ya"
    language.text("Cancel").msgstr = "_Cance_la"
    language.assert_problem("[IDS_CANCEL]", "more than one underscore")
    language.text("Cancel").msgstr = "Cancela"
    language.assert_problem("some buttons have a key")
    language.text("Retry").msgstr = "Re_trya"
    language.text("OK").msgstr = "O_Ka"
    language.text("Cancel").msgstr = "_Kancela"
    language.assert_problem("has the same key as")


def test_the_text_of_blanks_stays_as_it_is(language):
    language.text("     ").msgstr = "  "
    language.assert_problem("the blanks must be copied")


def test_blanks_nobody_wants_are_named(language):
    language.text("Message 111").msgstr += " "
    language.text("Message 112").msgstr += "  Aa"
    language.assert_problem("[111]", "a blank at the end")
    language.assert_problem("[112]", "two blanks")


def test_a_text_that_is_too_long_for_its_box_is_named(language):
    language.body(1110).msgstr += " a" * 600
    language.assert_problem("[1110]", "too long for its box")


@pytest.mark.parametrize("row, problem", [
    (["term", "print ribbon", "a", "", ""], "a second row"),
    (["term", "blue", "", "", ""], "no translation"),
    (["term", "blue", "a", "*", ""], "would allow everything"),
    (["word", "blue", "a", "", ""], "not five columns"),
    (["term", "blue", "a", "", "", ""], "not five columns"),
    (["copy", "OK", "", "", ""], "the note must say why"),
    (["without", "card", "", "", "why"], "must hold the message ids")])
def test_a_bad_row_of_the_glossary_is_named(language, row, problem):
    language.rows.append(row)
    language.assert_problem(f"xx.tsv:{len(language.rows) + 1}: ", problem, options=["--glossary"])


def test_each_term_and_phrase_of_the_glossary_needs_a_row(language):
    language.rows = [row for row in language.rows if row[1] not in ("latch", CALL)]
    language.assert_problem('no row "term" for "latch"', options=["--glossary"])
    language.assert_problem(f'no row "phrase" for "{CALL}"', options=["--glossary"])


def test_an_arabic_line_does_not_begin_with_a_latin_word(tmp_path):
    language = Language(tmp_path, "ar", arabic)
    entry = language.body(1306)
    lines = entry.msgstr.split("\n")
    language.rows.append(["without", "RIM door", "", "1306", "tried here"])
    entry.msgstr = "\n".join([*lines[:3], "3. RIM " + lines[3][3:], *lines[4:]])
    assert any("turns around" in line and "[1306]" in line for line in language.check()[1])
    entry.msgstr = "\n".join([*lines[:3], "\u200f3. RIM " + lines[3][3:], *lines[4:]])
    assert not any("turns around" in line for line in language.check()[1])


def test_arabic_is_found_with_and_without_its_short_vowels(tmp_path):
    language = Language(tmp_path, "ar", arabic)
    language.text("Cancel the card").msgstr = "لا كَلِمَة"
    assert not any('"Cancel the card"' in line for line in language.check()[1])
    language.text("Cancel the card").msgstr = "لا"
    language.assert_problem('"Cancel the card"', 'the term "card"')


def test_a_word_of_a_language_without_blanks_is_found_anywhere(tmp_path):
    language = Language(tmp_path, "ja", lambda text: re.sub(
        "[A-Za-z_]+(?: [A-Za-z]+)*", "語", pseudo(text)))
    language.text("Cancel the card").msgstr = "新語新"
    assert not any('"Cancel the card"' in line for line in language.check()[1])
    language.text("Cancel the card").msgstr = "新"
    language.assert_problem('"Cancel the card"', 'the term "card"')


def test_english_in_another_script_is_named(tmp_path):
    language = Language(tmp_path, "ar", arabic)
    language.text("Message 243: Card lost").msgstr = "كلمة 243: كلمة it was lost there"
    assert any("[243]" in line and "still English" in line for line in language.check()[1])


@pytest.mark.parametrize("old, new, problem", [
    ("(operator.fr.md)", "", "no link to operator.fr.md"),
    ("pictures/xx/box-stop.png", "pictures/box-stop.png", "without the picture pictures/box-stop"),
    ("\n## What", "\nWhat", "headings, the English page has"),
    ("\n| | **", "\n **", "rows of tables, the English page has"),
    ("**Retrya**", "**Againa**", "without the button **Retrya**"),
    ("`Messagea 110: ", "`Texta 110: ", 'without "Messagea 110: Printa'),
    ("UNEXPECTED_TEXT_KEYa:9999", "UNKNOWN:9999", 'without "UNEXPECTED_TEXT_KEYa:9999"'),
    ("| Ifa thea joba doesa nota", "| Shoulda thea joba nota", "no box says")])
def test_the_operators_page_is_held_against_the_boxes_and_the_english_page(
        language, old, new, problem):
    assert old in language.page
    language.page = language.page.replace(old, new)
    language.assert_problem("docs/operator.xx.md: ", problem)


def test_a_language_has_a_page_for_operators(language):
    language.check()
    (language.tree / "docs/operator.xx.md").unlink()
    run = subprocess.run([TREE / "scripts/check-translations", "--tree", language.tree, "xx"],
                         capture_output=True, text=True, check=False)
    assert (run.returncode, run.stdout) == (
        1, "docs/operator.xx.md: there is no such file\nxx: 1 problems\n")


def test_each_language_that_is_named_is_there():
    named = (TREE / "po/LINGUAS").read_text().splitlines()[-1].split()
    assert len(named) >= 12
    assert sorted(named) == sorted(path.stem for path in (TREE / "po").glob("*.po"))
    assert sorted(named) == sorted(path.stem for path in (TREE / "po/glossary").glob("*.tsv"))
