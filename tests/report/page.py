"""Reads a page as XML and says what is wrong with it; nothing when it is fine."""

import sys
import xml.dom.minidom

ALLOWED = set(
    "html head meta title style body header main section h1 h2 h3 p ul li table caption thead"
    " tbody tr th td div span details summary figure figcaption svg defs pattern rect circle"
    " path text".split()
)


def elements(node):
    for child in node.childNodes:
        if child.nodeType == child.ELEMENT_NODE:
            yield child
            yield from elements(child)


def faults(page):
    everything = list(elements(page))
    names = [each.tagName for each in everything]
    ids = [each.getAttribute("id") for each in everything if each.hasAttribute("id")]
    yield from (f"element {name}" for name in set(names) - ALLOWED)
    yield from (f"{name} is there {names.count(name)} times"
                for name in ("h1", "main", "header") if names.count(name) != 1)
    if len(ids) != len(set(ids)):
        yield "an id is there twice"
    if page.documentElement.getAttribute("lang") != "en":
        yield "no language"
    for each in everything:
        name = each.tagName
        if name == "svg" and not (each.getAttribute("aria-label") or each.getAttribute("aria-hidden")):
            yield "a picture without a text"
        if name == "table" and each.firstChild.tagName != "caption":
            yield "a table without a caption"
        if name == "th" and not each.getAttribute("scope"):
            yield "a head without a scope"
        for at in range(each.attributes.length):
            attribute = each.attributes.item(at).name
            if attribute.startswith("on") or attribute in ("src", "href"):
                yield f"attribute {attribute}"
    for row in page.getElementsByTagName("tr"):
        columns = row.parentNode.parentNode.getElementsByTagName("thead")[0].firstChild
        if len(row.childNodes) != len(columns.childNodes):
            yield "a row that is not as long as its head"


found = list(faults(xml.dom.minidom.parse(sys.argv[1])))
print("\n".join(sorted(set(found))), end="")
sys.exit(1 if found else 0)
