#pragma once

#include <QByteArray>

// A realistic page of about `elements` elements: sections holding headings, paragraphs with
// inline markup, lists and tables of prices, nested a few levels deep.
QByteArray generatePage(int elements);
