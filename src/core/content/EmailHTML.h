#pragma once

#include "mail/Email.h"

#include <QString>

// The one HTML document a web view shows for a message, whether it would reach the network, and
// the message as plain text. Pure functions: equal input gives byte-identical output, so the web
// view can skip a reload when the string has not changed. Nothing here sanitises; the document's
// Content-Security-Policy and the web view's settings keep the message's HTML in check.
namespace EmailHTML {

// The id of the element that holds the message, which the web view measures for its height.
inline constexpr char rootId[] = "veldrin-root";

// wrap(body(email), allowRemoteContent).
QString document(const Email& email, bool allowRemoteContent);

// The HTML fragment of the body: the HTML parts as they are, other parts as escaped
// preformatted text, joined by <hr>; a "(no content)" paragraph when no part has a value.
QString body(const Email& email);

// The whole display document around a fragment. Without remote content its policy admits only
// images from cid: and data: URLs, inline styles and data: fonts.
QString wrap(const QString& fragment, bool allowRemoteContent);

// Whether the body refers to an http or https image, background or style URL. A textual test
// over the fragment, so words in a plain part can count too.
bool hasRemoteContent(const Email& email);

// The message as text, for quoting and reopening drafts: the text/plain parts, else the HTML
// body with its tags stripped.
QString plainText(const Email& email);

// Text of an HTML string: drops heads, styles and scripts, turns breaks and block ends into line
// feeds, removes tags, decodes the six common entities and tidies blank lines.
QString stripTags(const QString& html);

// "&", "<", ">" and the double quote as entities, in that order; single quotes stay.
QString htmlEscaped(const QString& text);

} // namespace EmailHTML
