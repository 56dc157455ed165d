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
    const firstChildOf = getter(Node.prototype, 'firstChild');
    const nextSiblingOf = getter(Node.prototype, 'nextSibling');
    const nodeTypeOf = getter(Node.prototype, 'nodeType');
    const textContentOf = getter(Node.prototype, 'textContent');
    const innerTextOf = getter(HTMLElement.prototype, 'innerText');
    const dataOf = getter(CharacterData.prototype, 'data');
    const attrNameOf = getter(Attr.prototype, 'name');
    const attrValueOf = getter(Attr.prototype, 'value');
    const getAttribute = Element.prototype.getAttribute;
    const getElementsByTagName = Document.prototype.getElementsByTagName;
    const scrollIntoView = Element.prototype.scrollIntoView;

    function allElements() {
        return getElementsByTagName.call(document, '*');
    }

    // innerText is an HTML element's; other elements (SVG, MathML) give their text content.
    function renderedText(element) {
        return element instanceof HTMLElement ? innerTextOf.call(element) : textContentOf.call(element);
    }

    window.__tamberline = {
        // Every element in document order as
        // [tagName, parent index, id, innerText, [name, value, ...], [child index or text, ...]].
        snapshot(limits) {
            const started = performance.now();
            const all = allElements();
            const count = all.length;
            const indexOf = new Map();
            for (let i = 0; i < count; ++i)
                indexOf.set(all[i], i);

            const elements = [];
            let textBudget = limits.maxTextChars;
            let cut = false;
            let cutReason = '';
            for (let i = 0; i < count; ++i) {
                if (i >= limits.maxElements || performance.now() - started > limits.maxMilliseconds) {
                    cut = true;
                    cutReason = i >= limits.maxElements
                        ? 'the page has ' + count + ' elements; the first ' + i + ' were read'
                        : 'reading the page took too long; the first ' + i + ' of ' + count + ' elements were read';
                    break;
                }
                const element = all[i];
                const parent = parentElementOf.call(element);
                const attributes = [];
                for (const attribute of attributesOf.call(element))
                    attributes.push(attrNameOf.call(attribute), attrValueOf.call(attribute));
                const children = [];
                for (let child = firstChildOf.call(element); child; child = nextSiblingOf.call(child)) {
                    const type = nodeTypeOf.call(child);
                    if (type === Node.ELEMENT_NODE)
                        children.push(indexOf.get(child));
                    else if (type === Node.TEXT_NODE)
                        children.push(dataOf.call(child));
                }
                let text = renderedText(element) || '';
                if (text.length > textBudget) {
                    cut = true;
                    cutReason = 'the page text is too large; element texts from element ' + i + ' on were left out';
                    text = '';
                }
                textBudget -= text.length;
                elements.push([tagNameOf.call(element), parent ? indexOf.get(parent) : -1,
                               getAttribute.call(element, 'id') || '', text, attributes, children]);
            }
            return JSON.stringify({ url: location.href, title: document.title, cut, cutReason, elements });
        },

        // The index of the element that holds the selection or the caret, or -1.
        selectionElement() {
            const selection = window.getSelection();
            if (!selection || selection.rangeCount === 0)
                return -1;
            let node = selection.getRangeAt(0).commonAncestorContainer;
            if (nodeTypeOf.call(node) !== Node.ELEMENT_NODE)
                node = parentElementOf.call(node);
            return node ? Array.prototype.indexOf.call(allElements(), node) : -1;
        },

        scrollTo(index) {
            const element = index < 0 ? document.documentElement : allElements()[index];
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
