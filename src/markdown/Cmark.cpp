#include "markdown/Cmark.h"

#include "markdown/ParseCost.h"

#include <cmark-gfm-core-extensions.h>

#include <cstring>

namespace Markdown::Cmark {

namespace {

struct ParserDeleter
{
    void operator()(cmark_parser* parser) const { cmark_parser_free(parser); }
};

cmark_parser* newParser()
{
    // Registration touches a global list without a lock; a function-local static makes it
    // happen exactly once even when documents are parsed on several threads.
    static const bool registered = [] {
        cmark_gfm_core_extensions_ensure_registered();
        return true;
    }();
    Q_UNUSED(registered);

    // The installed cmark-gfm has no table-span option, so cells never span.
    cmark_parser* parser = cmark_parser_new(CMARK_OPT_SOURCEPOS | CMARK_OPT_SMART);
    for (const char* name : {"table", "strikethrough", "tasklist"}) {
        if (cmark_syntax_extension* extension = cmark_find_syntax_extension(name))
            cmark_parser_attach_syntax_extension(parser, extension);
    }
    return parser;
}

cmark_node* textNode(QByteArrayView text)
{
    // cmark's literals end at a NUL, and cmark itself reads one as U+FFFD.
    QByteArray literal = text.toByteArray();
    literal.replace(QByteArrayView("\0", 1), QByteArrayView("\xEF\xBF\xBD"));
    cmark_node* node = cmark_node_new(CMARK_NODE_TEXT);
    cmark_node_set_literal(node, literal.constData());
    return node;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

// The source as plain text: paragraphs between blank lines, their lines joined by soft breaks,
// with nothing read as markup.
NodePointer plainDocument(QByteArrayView source)
{
    NodePointer document(cmark_node_new(CMARK_NODE_DOCUMENT));
    cmark_node* paragraph = nullptr;
    const char* at = source.data();
    const char* const end = at + source.size();
    while (at < end) {
        const char* lineStart = at;
        while (at < end && *at != '\n' && *at != '\r')
            ++at;
        const char* lineEnd = at;
        if (at < end && *at == '\r')
            ++at;
        if (at < end && *at == '\n')
            ++at;

        while (lineStart < lineEnd && isBlank(*lineStart))
            ++lineStart;
        while (lineEnd > lineStart && isBlank(lineEnd[-1]))
            --lineEnd;
        if (lineStart == lineEnd) {
            paragraph = nullptr;
            continue;
        }
        if (paragraph) {
            cmark_node_append_child(paragraph, cmark_node_new(CMARK_NODE_SOFTBREAK));
        } else {
            paragraph = cmark_node_new(CMARK_NODE_PARAGRAPH);
            cmark_node_append_child(document.get(), paragraph);
        }
        cmark_node_append_child(paragraph,
                                textNode(QByteArrayView(lineStart, lineEnd - lineStart)));
    }
    return document;
}

} // namespace

NodePointer parse(QByteArrayView source)
{
    // Text that would cost cmark more than a moment or more than a modest amount of memory
    // goes out as plain text: it reaches us from any web page through a mailto: body, and is
    // parsed on the main thread at every preview and save.
    if (!ParseCost::of(source).isAffordable())
        return plainDocument(source);
    std::unique_ptr<cmark_parser, ParserDeleter> parser(newParser());
    cmark_parser_feed(parser.get(), source.data(), size_t(source.size()));
    return NodePointer(cmark_parser_finish(parser.get()));
}

QByteArray flattenedText(cmark_node* root)
{
    QByteArray text;
    // Blocks and table cells are kept apart by a line feed and a blank, once text has come.
    char pending = 0;
    const auto add = [&](const char* literal) {
        if (!literal || !*literal)
            return;
        if (pending && !text.isEmpty() && !text.endsWith('\n'))
            text += pending;
        pending = 0;
        text += literal;
    };
    cmark_iter* iterator = cmark_iter_new(root);
    cmark_event_type event;
    while ((event = cmark_iter_next(iterator)) != CMARK_EVENT_DONE) {
        cmark_node* node = cmark_iter_get_node(iterator);
        if (event == CMARK_EVENT_EXIT) {
            if (isType(node, "table_cell"))
                pending = pending ? pending : ' ';
            else if (isBlock(node))
                pending = '\n';
            continue;
        }
        switch (cmark_node_get_type(node)) {
        case CMARK_NODE_TEXT:
        case CMARK_NODE_CODE:
        // Raw HTML and code blocks keep their text too; as text it is escaped, not markup.
        case CMARK_NODE_CODE_BLOCK:
        case CMARK_NODE_HTML_BLOCK:
        case CMARK_NODE_HTML_INLINE:
            add(cmark_node_get_literal(node));
            break;
        case CMARK_NODE_SOFTBREAK:
        case CMARK_NODE_LINEBREAK:
            add("\n");
            break;
        default:
            break;
        }
    }
    cmark_iter_free(iterator);
    // A code block's text ends in a line feed of its own.
    while (text.endsWith('\n'))
        text.chop(1);
    return text;
}

bool isBlock(cmark_node* node)
{
    // Extensions' node types are numbered in the same block and inline ranges.
    return (cmark_node_get_type(node) & CMARK_NODE_TYPE_MASK) == CMARK_NODE_TYPE_BLOCK;
}

bool isType(cmark_node* node, const char* name)
{
    return std::strcmp(cmark_node_get_type_string(node), name) == 0;
}

std::optional<Node::Alignment> alignmentOf(uint8_t value)
{
    switch (value) {
    case 'l':
        return Node::Alignment::Left;
    case 'c':
        return Node::Alignment::Center;
    case 'r':
        return Node::Alignment::Right;
    default:
        return std::nullopt;
    }
}

} // namespace Markdown::Cmark
