'use strict';
// The page is readable without this script, which adds links that unfold their target, one chain of
// a map at a time, and the filter.
(() => {
    const all = (selector, within = document) => [...within.querySelectorAll(selector)];

    // Shows one chain's rules beside the map.
    function choose(chain) {
        for (const other of chain.parentElement.children) other.classList.toggle('chosen', other === chain);
        for (const node of all('.node', chain.closest('.sides'))) {
            if (node.getAttribute('href') === '#' + chain.id) node.setAttribute('aria-current', 'true');
            else node.removeAttribute('aria-current');
        }
    }

    // Makes a link's target visible before the browser goes there.
    function reveal(fragment) {
        const target = document.getElementById(decodeURIComponent(fragment.slice(1)));
        if (!target) return;
        if (target.closest('.out')) {
            input.value = '';
            narrow('');
        }
        for (let outer = target; outer; outer = outer.parentElement) {
            if (outer.tagName === 'DETAILS') outer.open = true;
            if (outer.classList.contains('chain')) choose(outer);
        }
    }

    // The filter. A group is an event with its body and nested run, a file, a chain or a section; its
    // head is a line too. Each line and group is a child of the enclosing group.
    const root = { children: [], element: document.querySelector('main') };
    const groups = new Map([[root.element, root]]);
    for (const element of all('.line, .group, .head', root.element)) {
        const outer = groups.get(element.parentElement.closest('.group') ?? root.element);
        const entry = { element, children: [] };
        if (element.classList.contains('group')) groups.set(element, entry);
        else entry.words = words(element);
        if (element.classList.contains('head')) outer.head = entry;
        else outer.children.push(entry);
    }

    // A line's text and reasons, without the labels of its buttons.
    function words(line) {
        const parts = all('code, .verb, .why li, .reasons, .place, .policy, .help, .note, p', line);
        return parts.map((part) => part.textContent).join('\n').toLowerCase();
    }

    // The names that a search for one kind of thing looks at: "chain:PF".
    const names = {
        table: (element) => all(':scope > h3 code', element.closest('.table') ?? element),
        chain: (element) => all(':scope > h4 code', element.closest('.chain') ?? element),
        setting: (element) => all('a[href^="#setting-"] code, th code', element),
    };

    // Whether a line matches. A text without a kind is looked for in everything that a line shows.
    function matcher(wanted) {
        const [, kind, name] = /^(table|chain|setting):\s*(.*)$/.exec(wanted) ?? [];
        if (kind === undefined) return (entry) => entry.words.includes(wanted);
        return (entry) => names[kind](entry.element).some((code) => code.textContent.toLowerCase().includes(name));
    }

    // Shows the matching lines. Returns their number.
    function sift(entry, matches, narrows) {
        if (entry.words !== undefined) {
            const found = matches(entry);
            entry.element.classList.toggle('out', !found);
            return found ? 1 : 0;
        }
        const inside = entry.children.reduce((sum, child) => sum + sift(child, matches, narrows), 0);
        const head = entry.head !== undefined && matches(entry.head);
        if (head && inside === 0) for (const child of entry.children) sift(child, () => true, false);
        if (narrows && inside > 0) unfold(entry.element);
        entry.element.classList.toggle('out', inside === 0 && !head);
        return inside + (head ? 1 : 0);
    }

    // The folds opened for matches, with their earlier state.
    const folds = new Map();
    function unfold(group) {
        const between = all('details', group).filter((fold) => fold.parentElement === group);
        for (const fold of group.tagName === 'DETAILS' ? [group] : between) {
            if (!folds.has(fold)) folds.set(fold, fold.open);
            fold.open = true;
        }
    }

    function narrow(text) {
        const wanted = text.trim().toLowerCase();
        for (const [fold, open] of folds) fold.open = open;
        folds.clear();
        const count = sift(root, matcher(wanted), wanted !== '');
        document.body.classList.toggle('filtering', wanted !== '');
        output.textContent = wanted === '' ? '' : count === 1 ? '1 line' : count + ' lines';
    }

    const input = document.getElementById('filter');
    const output = document.querySelector('output');
    document.documentElement.classList.add('scripted');
    document.querySelector('[role=search]').hidden = false;
    for (const chains of all('.chains')) choose(chains.querySelector('.chain:has(.rule)') ?? chains.firstElementChild);
    input.addEventListener('input', () => narrow(input.value));
    document.addEventListener('click', (event) => {
        const link = event.target.closest('a[href^="#"]');
        if (link) reveal(link.getAttribute('href'));
    });
    addEventListener('hashchange', () => reveal(location.hash));
    if (location.hash) reveal(location.hash);
})();
