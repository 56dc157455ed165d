// Runs in the application's isolated world: the page's own scripts cannot see this object, and
// nothing here trusts what the page may have put on its elements (a form's named controls can
// shadow properties like `tagName` or `attributes`), so every DOM read goes through the
// prototypes' own getters.
(function () {
    'use strict';
    if (window.__tamberline)
        return;

    const getter = (proto, name) => Object.getOwnPropertyDescriptor(proto, name).get;
    const tagNameOf = getter(Element.prototype, 'tagName');
    const attributesOf = getter(Element.prototype, 'attributes');
    const parentElementOf = getter(Node.prototype, 'parentElement');
    const parentNodeOf = getter(Node.prototype, 'parentNode');
    const hasAttributes = Element.prototype.hasAttributes;
    const createTreeWalker = Document.prototype.createTreeWalker;
    const nextNode = TreeWalker.prototype.nextNode;
    const firstChildOf = getter(Node.prototype, 'firstChild');
    const nodeTypeOf = getter(Node.prototype, 'nodeType');
    const textContentOf = getter(Node.prototype, 'textContent');
    const innerTextOf = getter(HTMLElement.prototype, 'innerText');
    const dataOf = getter(CharacterData.prototype, 'data');
    const attrNameOf = getter(Attr.prototype, 'name');
    const attrValueOf = getter(Attr.prototype, 'value');
    const getElementsByTagName = Document.prototype.getElementsByTagName;
    const scrollIntoView = Element.prototype.scrollIntoView;
    const boundingRectOf = Element.prototype.getBoundingClientRect;
    const innerWidthOf = () => window.innerWidth;
    const innerHeightOf = () => window.innerHeight;
    const requestFrame = window.requestAnimationFrame.bind(window);

    const elementFromPoint = Document.prototype.elementFromPoint;
    const preventDefault = Event.prototype.preventDefault;
    const addEventListener = EventTarget.prototype.addEventListener;

    const documentElementOf = getter(Document.prototype, 'documentElement');
    const titleOf = getter(Document.prototype, 'title');

    // Element to sourceIndex and back, as of the last snapshot: elements added since have none.
    let indexOf = new Map();
    let elementAt = [];
    let bridge = null;

    function indexFor(element) {
        const index = element ? indexOf.get(element) : undefined;
        return index === undefined ? -1 : index;
    }

    function selectionIndex() {
        const selection = window.getSelection();
        if (!selection || selection.rangeCount === 0)
            return -1;
        let node = selection.getRangeAt(0).commonAncestorContainer;
        if (nodeTypeOf.call(node) !== Node.ELEMENT_NODE)
            node = parentElementOf.call(node);
        return indexFor(node);
    }

    // Only what the user did counts: events a page script makes up are not trusted.
    function listen(type, handler) {
        addEventListener.call(document, type, (event) => {
            // isTrusted lives on the event itself and cannot be forged.
            if (bridge && event.isTrusted)
                handler(event);
        }, true);
    }

    listen('mouseover', (event) => {
        bridge.pointerOver(indexFor(elementFromPoint.call(document, event.clientX, event.clientY)));
    });
    listen('mouseout', () => bridge.pointerOut());
    listen('dblclick', (event) => {
        bridge.doubleClicked(selectionIndex());
        preventDefault.call(event);
    });
    listen('selectionchange', () => bridge.selectionChanged(selectionIndex()));

    // Scrolling and resizing move the elements: the application redraws what it outlines,
    // once a frame at most.
    let viewportPending = false;
    function viewportMoved(event) {
        if (!bridge || !event.isTrusted || viewportPending)
            return;
        viewportPending = true;
        requestFrame(() => {
            viewportPending = false;
            bridge.viewportChanged();
        });
    }
    addEventListener.call(document, 'scroll', viewportMoved, true);
    addEventListener.call(window, 'resize', viewportMoved, true);

    if (typeof QWebChannel === 'function' && typeof qt === 'object' && qt.webChannelTransport)
        new QWebChannel(qt.webChannelTransport, (channel) => { bridge = channel.objects.pageEvents; });

    // innerText is an HTML element's; other elements (SVG, MathML) give their text content.
    function renderedText(element) {
        return element instanceof HTMLElement ? innerTextOf.call(element) : textContentOf.call(element);
    }

    window.__tamberline = {
        // Every element in document order as
        // [tagName, parent index, id, innerText, [name, value, ...], [child index or text, ...]].
        snapshot(limits) {
            const started = performance.now();
            // One walk over elements and text nodes in document order: the same elements, in the
            // same order, as getElementsByTagName('*').
            const walker = createTreeWalker.call(document, document, NodeFilter.SHOW_ELEMENT | NodeFilter.SHOW_TEXT);
            indexOf = new Map();
            elementAt = [];
            const elements = [];
            let textBudget = limits.maxTextChars;
            let cut = false;
            let cutReason = '';
            let unreadTextFrom = -1;
            for (let node = nextNode.call(walker); node; node = nextNode.call(walker)) {
                const parent = indexOf.get(parentNodeOf.call(node));
                if (nodeTypeOf.call(node) === Node.TEXT_NODE) {
                    if (parent !== undefined)
                        elements[parent][5].push(dataOf.call(node));
                    continue;
                }
                const index = elements.length;
                if (index >= limits.maxElements || performance.now() - started > limits.maxMilliseconds) {
                    const total = getElementsByTagName.call(document, '*').length;
                    cut = true;
                    cutReason = index >= limits.maxElements
                        ? 'the page has ' + total + ' elements; the first ' + index + ' were read'
                        : 'reading the page took too long; the first ' + index + ' of ' + total + ' elements were read';
                    break;
                }
                indexOf.set(node, index);
                elementAt.push(node);
                if (parent !== undefined)
                    elements[parent][5].push(index);
                const attributes = [];
                let id = '';
                if (hasAttributes.call(node)) {
                    for (const attribute of attributesOf.call(node)) {
                        const name = attrNameOf.call(attribute);
                        const value = attrValueOf.call(attribute);
                        if (name === 'id')
                            id = value;
                        attributes.push(name, value);
                    }
                }
                // Once the budget is spent no text is read: the search must know where texts end.
                let text = unreadTextFrom < 0 && firstChildOf.call(node) ? renderedText(node) || '' : '';
                if (text.length > textBudget) {
                    cut = true;
                    cutReason = 'the page text is too large; element texts from element ' + index + ' on were left out';
                    unreadTextFrom = index;
                    text = '';
                }
                textBudget -= text.length;
                elements.push([tagNameOf.call(node), parent === undefined ? -1 : parent, id, text, attributes, []]);
            }
            return JSON.stringify({ url: location.href, title: titleOf.call(document), cut, cutReason, unreadTextFrom, elements });
        },

        // Where the elements of the last snapshot are in the view, as [index, x, y, width,
        // height, ...], for those with a box that the view shows.
        rects(indexes) {
            const width = innerWidthOf();
            const height = innerHeightOf();
            const found = [];
            for (const index of indexes) {
                const element = elementAt[index];
                if (!element)
                    continue;
                const box = boundingRectOf.call(element);
                if (box.width <= 0 && box.height <= 0)
                    continue;
                if (box.right < 0 || box.bottom < 0 || box.left > width || box.top > height)
                    continue;
                found.push(index, box.left, box.top, box.width, box.height);
            }
            return JSON.stringify(found);
        },

        // The index of the element that holds the selection or the caret, or -1.
        selectionElement() {
            return selectionIndex();
        },

        scrollTo(index) {
            const element = index < 0 ? documentElementOf.call(document) : elementAt[index];
            if (element)
                scrollIntoView.call(element);
        },

        clearSelection() {
            const selection = window.getSelection();
            if (selection)
                selection.removeAllRanges();
        },
    };
})();
