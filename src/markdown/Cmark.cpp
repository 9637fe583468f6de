#include "markdown/Cmark.h"

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

} // namespace

NodePointer parse(QByteArrayView source)
{
    std::unique_ptr<cmark_parser, ParserDeleter> parser(newParser());
    cmark_parser_feed(parser.get(), source.data(), size_t(source.size()));
    return NodePointer(cmark_parser_finish(parser.get()));
}

QByteArray flattenedText(cmark_node* root)
{
    QByteArray text;
    cmark_iter* iterator = cmark_iter_new(root);
    cmark_event_type event;
    while ((event = cmark_iter_next(iterator)) != CMARK_EVENT_DONE) {
        if (event != CMARK_EVENT_ENTER)
            continue;
        cmark_node* node = cmark_iter_get_node(iterator);
        switch (cmark_node_get_type(node)) {
        case CMARK_NODE_TEXT:
        case CMARK_NODE_CODE:
            if (const char* literal = cmark_node_get_literal(node))
                text += literal;
            break;
        case CMARK_NODE_SOFTBREAK:
        case CMARK_NODE_LINEBREAK:
            text += '\n';
            break;
        default:
            break;
        }
    }
    cmark_iter_free(iterator);
    return text;
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
