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
    const hasAttributes = Element.prototype.hasAttributes;
    const firstChildOf = getter(Node.prototype, 'firstChild');
    const nextSiblingOf = getter(Node.prototype, 'nextSibling');
    const attributeCountOf = getter(NamedNodeMap.prototype, 'length');
    const attributeAt = NamedNodeMap.prototype.item;
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
    // The index rides on the element's wrapper in this world, which the page's scripts never see.
    const indexKey = Symbol('sourceIndex');
    let elementAt = [];
    let bridge = null;

    function indexFor(element) {
        const index = element ? element[indexKey] : undefined;
        return index !== undefined && elementAt[index] === element ? index : -1;
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

    // Every text costs the browser a walk of the element's subtree, so the budget of characters
    // and of time bounds them all; once either is spent no text is read, and the snapshot says
    // from which element on.
    function readTexts(limits) {
        const started = performance.now();
        const texts = [];
        let budget = limits.maxTextChars;
        let unreadTextFrom = -1;
        let cutReason = '';
        for (let index = 0; index < elementAt.length; ++index) {
            const node = elementAt[index];
            let text = unreadTextFrom < 0 && firstChildOf.call(node) ? renderedText(node) || '' : '';
            if (unreadTextFrom < 0 && (text.length > budget || performance.now() - started > limits.maxMilliseconds)) {
                cutReason = text.length > budget
                    ? 'the page text is too large; element texts from element ' + index + ' on were left out'
                    : 'reading the texts took too long; element texts from element ' + index + ' on were left out';
                unreadTextFrom = index;
                text = '';
            }
            budget -= text.length;
            texts.push(text);
        }
        return { texts, cut: unreadTextFrom >= 0, cutReason, unreadTextFrom };
    }

    window.__tamberline = {
        // Every element and text node in document order, in one flat list rather than an array
        // per element, which costs the page's heap several times more: an element is its
        // parent's index (-1 for none), its tagName, its attribute count and that many names
        // and values; a text node is -2 minus its parent's index, then its text. withTexts false
        // leaves the elements' texts out (textsPending) for texts() to give afterwards: the
        // structure alone comes several times as fast.
        snapshot(limits, withTexts = true) {
            const started = performance.now();
            elementAt = [];
            const nodes = [];
            let cut = false;
            let cutReason = '';
            // A parent's index is kept while its children are walked: the same elements, in the
            // same order, as getElementsByTagName('*').
            const openNodes = [];
            const openParents = [];
            let node = firstChildOf.call(document);
            let parent = -1;
            while (node) {
                const type = nodeTypeOf.call(node);
                if (type === Node.ELEMENT_NODE) {
                    const index = elementAt.length;
                    if (index >= limits.maxElements || performance.now() - started > limits.maxMilliseconds) {
                        const total = getElementsByTagName.call(document, '*').length;
                        cut = true;
                        cutReason = index >= limits.maxElements
                            ? 'the page has ' + total + ' elements; the first ' + index + ' were read'
                            : 'reading the page took too long; the first ' + index + ' of ' + total + ' elements were read';
                        break;
                    }
                    node[indexKey] = index;
                    elementAt.push(node);
                    nodes.push(parent, tagNameOf.call(node));
                    if (hasAttributes.call(node)) {
                        const map = attributesOf.call(node);
                        const count = attributeCountOf.call(map);
                        nodes.push(count);
                        for (let i = 0; i < count; ++i) {
                            const attribute = attributeAt.call(map, i);
                            nodes.push(attrNameOf.call(attribute), attrValueOf.call(attribute));
                        }
                    } else {
                        nodes.push(0);
                    }
                    const child = firstChildOf.call(node);
                    if (child) {
                        openNodes.push(node);
                        openParents.push(parent);
                        parent = index;
                        node = child;
                        continue;
                    }
                } else if (type === Node.TEXT_NODE && parent >= 0) {
                    nodes.push(-2 - parent, dataOf.call(node));
                }
                let next = nextSiblingOf.call(node);
                while (!next && openNodes.length) {
                    node = openNodes.pop();
                    parent = openParents.pop();
                    next = nextSiblingOf.call(node);
                }
                node = next;
            }
            const snapshot = { url: location.href, title: titleOf.call(document), cut, cutReason, unreadTextFrom: -1,
                               textsPending: !withTexts, nodes };
            if (withTexts) {
                const read = readTexts(limits);
                snapshot.texts = read.texts;
                snapshot.cut = cut || read.cut;
                snapshot.cutReason = cut ? cutReason : read.cutReason;
                snapshot.unreadTextFrom = read.unreadTextFrom;
            }
            return JSON.stringify(snapshot);
        },

        // The innerTexts of the last snapshot's elements, in its order.
        texts(limits) {
            return JSON.stringify(readTexts(limits));
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
