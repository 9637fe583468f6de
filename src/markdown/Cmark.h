#pragma once

#include "markdown/Node.h"

#include <QByteArray>
#include <QByteArrayView>

#include <cmark-gfm.h>

#include <memory>
#include <optional>

// What the tree and the direct HTML renderer share about cmark-gfm: the parser with its options
// and extensions, and how its nodes read.
namespace Markdown::Cmark {

// Every pass over a document recurses, so a pathologically deep one (thousands of nested quotes
// or lists) would exhaust the stack. Below this depth a subtree keeps only its text.
constexpr int maxDepth = 256;

struct NodeDeleter
{
    void operator()(cmark_node* node) const { cmark_node_free(node); }
};
using NodePointer = std::unique_ptr<cmark_node, NodeDeleter>;

// The document of UTF-8 Markdown text: smart punctuation; tables, strikethrough and task lists.
NodePointer parse(QByteArrayView source);

// The text leaves of a subtree that is too deep to keep, gathered without recursion.
QByteArray flattenedText(cmark_node* root);

// Nodes of the extensions have type numbers assigned at registration, so they are told apart
// by their names.
bool isType(cmark_node* node, const char* name);

std::optional<Node::Alignment> alignmentOf(uint8_t value);

} // namespace Markdown::Cmark
