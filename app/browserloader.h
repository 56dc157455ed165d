#pragma once

#include "pagesource.h"

#include <memory>

class QTemporaryFile;
class WebPage;

// Loads pages headless in the browser engine, for pages that build their content with
// scripts. One page at a time, on the application's thread.
class BrowserLoader
{
public:
    BrowserLoader();
    ~BrowserLoader();

    // The page's snapshot once it has loaded. Throws PageError.
    DocumentPtr load(const PageSource &source);

private:
    std::unique_ptr<WebPage> m_page;
    // Standard input or a FIFO, read by us and given to the engine as a file.
    std::unique_ptr<QTemporaryFile> m_copy;
};
