# The corpus query with BeautifulSoup and lxml: the first <a> in document order whose whole
# text contains an "a" (any case); one JSON line per page like `tamberline run --format json`.
import json
import sys

from bs4 import BeautifulSoup

for path in sys.argv[1:]:
    with open(path, 'rb') as page:
        soup = BeautifulSoup(page.read(), 'lxml')
    found = text = None
    matches = 0
    for index, element in enumerate(soup.find_all(True)):
        if element.name != 'a':
            continue
        t = element.get_text()
        if 'a' in t.lower():
            if found is None:
                found, text = index, t
            matches += 1
    print(json.dumps({'page': path, 'found': found, 'text': text, 'matches': matches}))
