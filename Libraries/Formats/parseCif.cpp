// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/parseCif.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string_view>
#include <utility>

#include <gemmi/cifdoc.hpp>

namespace cif = gemmi::cif;

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// Whether a word begins so, in whatever case.
bool beginsWith(std::string_view word, std::string_view start) {
    return word.size() >= start.size() &&
           std::equal(start.begin(), start.end(), word.begin(), [](char wanted, char found) {
               return wanted == std::tolower(static_cast<unsigned char>(found));
           });
}

enum class Kind { End, Block, Frame, Loop, Tag, Value };

struct Token {
    Kind kind = Kind::End;
    std::string_view text; ///< of a block the name, of a value with its quotes
    std::size_t line = 1;
};

class Tokens {
public:
    explicit Tokens(std::string_view text) : m_text(text) {}

    Token next();

private:
    void skipBlanks();
    std::size_t endOfQuoted() const;
    std::size_t endOfTextField() const;
    std::size_t endOfWord() const;
    Token take(std::size_t end);

    std::string_view m_text;
    std::size_t m_at = 0;
    std::size_t m_line = 1;
};

void Tokens::skipBlanks() {
    while (m_at < m_text.size()) {
        if (m_text[m_at] == '#') {
            m_at = std::min(m_text.find('\n', m_at), m_text.size());
        } else if (isBlank(m_text[m_at])) {
            m_line += m_text[m_at] == '\n' ? 1 : 0;
            ++m_at;
        } else {
            return;
        }
    }
}

/// A quote within a value is none before which no blank follows: 'a dog's life' is one value.
std::size_t Tokens::endOfQuoted() const {
    const char quote = m_text[m_at];
    for (std::size_t i = m_at + 1; i < m_text.size() && m_text[i] != '\n'; ++i) {
        if (m_text[i] == quote && (i + 1 == m_text.size() || isBlank(m_text[i + 1]))) {
            return i + 1;
        }
    }
    throw CifError(m_line, "a quoted value does not end in its line");
}

std::size_t Tokens::endOfTextField() const {
    const std::size_t end = m_text.find("\n;", m_at);
    if (end == std::string_view::npos) {
        throw CifError(m_line, "a text field has no end; the file may be cut off");
    }
    return end + 2;
}

std::size_t Tokens::endOfWord() const {
    return static_cast<std::size_t>(
        std::find_if(m_text.begin() + static_cast<std::ptrdiff_t>(m_at), m_text.end(), isBlank) -
        m_text.begin());
}

Token Tokens::take(std::size_t end) {
    Token token;
    token.kind = Kind::Value;
    token.text = m_text.substr(m_at, end - m_at);
    token.line = m_line;
    m_line += static_cast<std::size_t>(std::count(token.text.begin(), token.text.end(), '\n'));
    m_at = end;
    return token;
}

Token Tokens::next() {
    skipBlanks();
    if (m_at == m_text.size()) {
        Token end;
        end.line = m_line;
        return end;
    }
    const char first = m_text[m_at];
    if (first == ';' && (m_at == 0 || m_text[m_at - 1] == '\n')) {
        return take(endOfTextField());
    }
    if (first == '\'' || first == '"') {
        return take(endOfQuoted());
    }
    Token token = take(endOfWord());
    if (first == '_') {
        token.kind = Kind::Tag;
    } else if (beginsWith(token.text, "data_")) {
        token.kind = Kind::Block;
        token.text.remove_prefix(5);
    } else if (beginsWith(token.text, "save_")) {
        token.kind = Kind::Frame;
    } else if (token.text.size() == 5 && beginsWith(token.text, "loop_")) {
        token.kind = Kind::Loop;
    }
    return token;
}

class Parser {
public:
    explicit Parser(std::string_view text) : m_tokens(text) { advance(); }

    cif::Document document();

private:
    void advance() { m_token = m_tokens.next(); }
    cif::Block& block();
    std::string value() const;
    void readLoop();
    void readPair();
    void skipFrame();

    Tokens m_tokens;
    Token m_token;
    cif::Document m_document;
};

cif::Block& Parser::block() {
    if (m_document.blocks.empty()) {
        throw CifError(m_token.line, "values stand before the first data block");
    }
    return m_document.blocks.back();
}

/// A word that begins with a semicolon would begin a text field where a writer starts a line with it.
std::string Parser::value() const {
    const bool isWord = m_token.text.find('\n') == std::string_view::npos;
    return m_token.text[0] == ';' && isWord ? "'" + std::string(m_token.text) + "'"
                                            : std::string(m_token.text);
}

void Parser::readLoop() {
    const std::size_t line = m_token.line;
    cif::Item item{cif::LoopArg{}};
    for (advance(); m_token.kind == Kind::Tag; advance()) {
        item.loop.tags.emplace_back(m_token.text);
    }
    for (; m_token.kind == Kind::Value; advance()) {
        item.loop.values.push_back(value());
    }
    if (item.loop.tags.empty()) {
        throw CifError(line, "a loop has no tags");
    }
    if (item.loop.values.size() % item.loop.tags.size() != 0) {
        throw CifError(line, "the loop of " + item.loop.tags[0] + " has " +
                                 std::to_string(item.loop.values.size()) + " values, no multiple of its " +
                                 std::to_string(item.loop.tags.size()) + " tags; the file may be cut off");
    }
    block().items.push_back(std::move(item));
}

void Parser::readPair() {
    const std::string tag(m_token.text);
    const std::size_t line = m_token.line;
    advance();
    if (m_token.kind != Kind::Value) {
        throw CifError(line, tag + " has no value");
    }
    block().items.emplace_back(tag, value());
    advance();
}

void Parser::skipFrame() {
    const std::size_t line = m_token.line;
    for (advance(); m_token.kind != Kind::Frame; advance()) {
        if (m_token.kind == Kind::End || m_token.kind == Kind::Block) {
            throw CifError(line, "a save frame has no end");
        }
    }
    advance();
}

cif::Document Parser::document() {
    while (m_token.kind != Kind::End) {
        switch (m_token.kind) {
        case Kind::Block:
            m_document.blocks.emplace_back(std::string(m_token.text));
            advance();
            break;
        case Kind::Frame:
            skipFrame();
            break;
        case Kind::Loop:
            readLoop();
            break;
        case Kind::Tag:
            readPair();
            break;
        default:
            throw CifError(m_token.line, "a value stands where a tag is expected");
        }
    }
    return std::move(m_document);
}

} // namespace

cif::Document parseCif(const std::string& text) {
    return Parser(text).document();
}
