// A session in another language, as gettext sees it.
#pragma once

#include <libintl.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "test_support.h"

// Translates with the catalogues below `directory` into `language` for as long as it lives, in a
// locale of its own: some releases of the C library translate nothing in C.UTF-8.
class Translation {
public:
    using Texts = std::map<std::string, std::string>; // each with its translation

    Translation(const std::string& directory, const std::string& language) {
        bindtextdomain("messages", directory.c_str());
        bindtextdomain("gtk30", directory.c_str());
        setenv("LOCPATH", ZOR_TEST_LOCALES, 1);
        setenv("LANGUAGE", language.c_str(), 1);
        EXPECT_NE(std::setlocale(LC_ALL, "en_US.UTF-8"), nullptr);
    }

    // The same with a catalogue of these texts and their translations, any of which may be empty:
    // the program's own, or that of another text domain.
    explicit Translation(const Texts& texts, const std::string& domain = "messages")
        : Translation((write_catalogue(texts, domain), "/tmp/locale"), "xx") {}

    ~Translation() {
        std::setlocale(LC_ALL, "C");
        unsetenv("LANGUAGE");
        unsetenv("LOCPATH");
    }

    Translation(const Translation&) = delete;
    Translation& operator=(const Translation&) = delete;

private:
    // msgfmt leaves out what is translated by nothing; this takes its place until it has run.
    static constexpr const char* NOTHING = "(no text)";

    static void run(const std::string& command) {
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
    }

    static std::string quoted(const std::string& text) {
        std::string result = "\"";
        for (const char c : text) {
            result += c == '\n' ? "\\n" : c == '"' ? "\\\"" : std::string(1, c);
        }
        return result + "\"\n";
    }

    static void write_catalogue(const Texts& texts, const std::string& domain) {
        const std::string path = "/tmp/locale/xx/LC_MESSAGES/" + domain + ".mo";
        std::filesystem::create_directories("/tmp/locale/xx/LC_MESSAGES");
        std::ofstream po("/tmp/messages.po");
        po << "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n";
        for (const auto& [text, translation] : texts) {
            po << "msgid " << quoted(text) << "msgstr "
               << quoted(translation.empty() ? NOTHING : translation);
        }
        po.close();
        run("msgfmt -o " + path + " /tmp/messages.po");
        std::ifstream file(path, std::ios::binary);
        std::string catalogue{std::istreambuf_iterator<char>(file), {}};
        for (auto at = catalogue.find(NOTHING); at != std::string::npos;
             at = catalogue.find(NOTHING)) {
            catalogue[at] = '\0';
        }
        std::ofstream(path, std::ios::binary) << catalogue;
    }
};
