#pragma once

#include <QByteArrayView>

#include <array>
#include <cstddef>

/// The elements that get past the scan; every other tag is dropped there and its content stays.
enum class Element : unsigned char {
    None,
    A,
    Abbr,
    Acronym,
    Address,
    Article,
    Aside,
    B,
    Big,
    Blockquote,
    Body,
    Br,
    Caption,
    Center,
    Cite,
    Code,
    Dd,
    Del,
    Details,
    Dfn,
    Dir,
    Div,
    Dl,
    Dt,
    Em,
    Fieldset,
    Figcaption,
    Figure,
    Font,
    Footer,
    H1,
    H2,
    H3,
    H4,
    H5,
    H6,
    Header,
    Hr,
    I,
    Iframe,
    Img,
    Input,
    Ins,
    Kbd,
    Label,
    Li,
    Listing,
    Main,
    Mark,
    Menu,
    Nav,
    Nobr,
    Noembed,
    Noframes,
    Ol,
    P,
    Plaintext,
    Pre,
    Q,
    S,
    Samp,
    Script,
    Section,
    Small,
    Span,
    Strike,
    Strong,
    Style,
    Sub,
    Summary,
    Sup,
    Svg,
    Table,
    Tbody,
    Td,
    Textarea,
    Tfoot,
    Th,
    Thead,
    Time,
    Title,
    Tr,
    Tt,
    U,
    Ul,
    Var,
    Xmp
};

/// How the scan treats an element.
enum class ElementKind : unsigned char {
    Inline,     ///< nests as it is written
    Formatting, ///< goes on behind an element that was closed around it (HTML 13.2.4.3)
    Block,      ///< ends an open paragraph
    Item,       ///< a block that ends the item before it
    Heading,    ///< a block that ends a heading it stands in
    TablePart,  ///< has its place in a table only
    Void,       ///< has no content
    Raw         ///< its content is not markup
};

struct ElementRow
{
    const char *name;
    Element element;
    ElementKind kind;
};

/// Sorted by name, indexed by element.
constexpr std::array kElements = {
    ElementRow{"", Element::None, ElementKind::Inline},
    ElementRow{"a", Element::A, ElementKind::Formatting},
    ElementRow{"abbr", Element::Abbr, ElementKind::Inline},
    ElementRow{"acronym", Element::Acronym, ElementKind::Inline},
    ElementRow{"address", Element::Address, ElementKind::Block},
    ElementRow{"article", Element::Article, ElementKind::Block},
    ElementRow{"aside", Element::Aside, ElementKind::Block},
    ElementRow{"b", Element::B, ElementKind::Formatting},
    ElementRow{"big", Element::Big, ElementKind::Formatting},
    ElementRow{"blockquote", Element::Blockquote, ElementKind::Block},
    ElementRow{"body", Element::Body, ElementKind::Void},
    ElementRow{"br", Element::Br, ElementKind::Void},
    ElementRow{"caption", Element::Caption, ElementKind::TablePart},
    ElementRow{"center", Element::Center, ElementKind::Block},
    ElementRow{"cite", Element::Cite, ElementKind::Inline},
    ElementRow{"code", Element::Code, ElementKind::Formatting},
    ElementRow{"dd", Element::Dd, ElementKind::Item},
    ElementRow{"del", Element::Del, ElementKind::Inline},
    ElementRow{"details", Element::Details, ElementKind::Block},
    ElementRow{"dfn", Element::Dfn, ElementKind::Inline},
    ElementRow{"dir", Element::Dir, ElementKind::Block},
    ElementRow{"div", Element::Div, ElementKind::Block},
    ElementRow{"dl", Element::Dl, ElementKind::Block},
    ElementRow{"dt", Element::Dt, ElementKind::Item},
    ElementRow{"em", Element::Em, ElementKind::Formatting},
    ElementRow{"fieldset", Element::Fieldset, ElementKind::Block},
    ElementRow{"figcaption", Element::Figcaption, ElementKind::Block},
    ElementRow{"figure", Element::Figure, ElementKind::Block},
    ElementRow{"font", Element::Font, ElementKind::Formatting},
    ElementRow{"footer", Element::Footer, ElementKind::Block},
    ElementRow{"h1", Element::H1, ElementKind::Heading},
    ElementRow{"h2", Element::H2, ElementKind::Heading},
    ElementRow{"h3", Element::H3, ElementKind::Heading},
    ElementRow{"h4", Element::H4, ElementKind::Heading},
    ElementRow{"h5", Element::H5, ElementKind::Heading},
    ElementRow{"h6", Element::H6, ElementKind::Heading},
    ElementRow{"header", Element::Header, ElementKind::Block},
    ElementRow{"hr", Element::Hr, ElementKind::Void},
    ElementRow{"i", Element::I, ElementKind::Formatting},
    ElementRow{"iframe", Element::Iframe, ElementKind::Raw},
    ElementRow{"img", Element::Img, ElementKind::Void},
    ElementRow{"input", Element::Input, ElementKind::Void},
    ElementRow{"ins", Element::Ins, ElementKind::Inline},
    ElementRow{"kbd", Element::Kbd, ElementKind::Inline},
    ElementRow{"label", Element::Label, ElementKind::Inline},
    ElementRow{"li", Element::Li, ElementKind::Item},
    ElementRow{"listing", Element::Listing, ElementKind::Block},
    ElementRow{"main", Element::Main, ElementKind::Block},
    ElementRow{"mark", Element::Mark, ElementKind::Inline},
    ElementRow{"menu", Element::Menu, ElementKind::Block},
    ElementRow{"nav", Element::Nav, ElementKind::Block},
    ElementRow{"nobr", Element::Nobr, ElementKind::Formatting},
    ElementRow{"noembed", Element::Noembed, ElementKind::Raw},
    ElementRow{"noframes", Element::Noframes, ElementKind::Raw},
    ElementRow{"ol", Element::Ol, ElementKind::Block},
    ElementRow{"p", Element::P, ElementKind::Block},
    ElementRow{"plaintext", Element::Plaintext, ElementKind::Block},
    ElementRow{"pre", Element::Pre, ElementKind::Block},
    ElementRow{"q", Element::Q, ElementKind::Inline},
    ElementRow{"s", Element::S, ElementKind::Formatting},
    ElementRow{"samp", Element::Samp, ElementKind::Inline},
    ElementRow{"script", Element::Script, ElementKind::Raw},
    ElementRow{"section", Element::Section, ElementKind::Block},
    ElementRow{"small", Element::Small, ElementKind::Formatting},
    ElementRow{"span", Element::Span, ElementKind::Inline},
    ElementRow{"strike", Element::Strike, ElementKind::Formatting},
    ElementRow{"strong", Element::Strong, ElementKind::Formatting},
    ElementRow{"style", Element::Style, ElementKind::Raw},
    ElementRow{"sub", Element::Sub, ElementKind::Inline},
    ElementRow{"summary", Element::Summary, ElementKind::Block},
    ElementRow{"sup", Element::Sup, ElementKind::Inline},
    ElementRow{"svg", Element::Svg, ElementKind::Raw},
    ElementRow{"table", Element::Table, ElementKind::Block},
    ElementRow{"tbody", Element::Tbody, ElementKind::TablePart},
    ElementRow{"td", Element::Td, ElementKind::TablePart},
    ElementRow{"textarea", Element::Textarea, ElementKind::Raw},
    ElementRow{"tfoot", Element::Tfoot, ElementKind::TablePart},
    ElementRow{"th", Element::Th, ElementKind::TablePart},
    ElementRow{"thead", Element::Thead, ElementKind::TablePart},
    ElementRow{"time", Element::Time, ElementKind::Inline},
    ElementRow{"title", Element::Title, ElementKind::Raw},
    ElementRow{"tr", Element::Tr, ElementKind::TablePart},
    ElementRow{"tt", Element::Tt, ElementKind::Formatting},
    ElementRow{"u", Element::U, ElementKind::Formatting},
    ElementRow{"ul", Element::Ul, ElementKind::Block},
    ElementRow{"var", Element::Var, ElementKind::Inline},
    ElementRow{"xmp", Element::Xmp, ElementKind::Raw},
};
static_assert(kElements.size() == std::size_t(Element::Xmp) + 1);

constexpr const ElementRow &rowOf(Element element)
{
    return kElements[std::size_t(element)];
}

/// The element called @p name in lower case; None when the scan drops such tags.
Element elementNamed(QByteArrayView name);
