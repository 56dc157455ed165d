#pragma once

#include <QString>

// Every HTML page of the tests and the examples, as a _data table column "path", for tests
// that read each page both ways.
void addEveryPageRow();

// Why a page's static reading cannot agree with the browser's, or empty for a static page.
QString whyNotStatic(const QString &path);
