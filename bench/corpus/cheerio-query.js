// The corpus query with cheerio: the first <a> in document order whose whole text contains
// an "a" (any case); prints one JSON line per page like `tamberline run --format json`.
const fs = require('fs');
const cheerio = require('cheerio');
for (const path of process.argv.slice(2)) {
    const $ = cheerio.load(fs.readFileSync(path, 'utf8'));
    let found = null, text = null, matches = 0;
    $('*').each((index, element) => {
        if (element.tagName !== 'a')
            return;
        const t = $(element).text();
        if (/a/i.test(t)) {
            if (found === null) { found = index; text = t; }
            ++matches;
        }
    });
    console.log(JSON.stringify({page: path, found, text, matches}));
}
