"""What the manual adds to Sphinx, Breathe and the theme: links from names to their descriptions, functions under
"on this page", one description for all overloads of a C++ function with the errors that it gives, and repairs of
the theme."""

import re
from pathlib import Path
from xml.etree import ElementTree

from docutils import nodes
from sphinx import addnodes
from sphinx.writers.manpage import ManualPageTranslator


class ManPageTranslator(ManualPageTranslator):
    """Lists all functions of a page under NAME, and their prototypes under SYNOPSIS."""

    # Blocks of code are not indented.
    visit_literal_block = ManualPageTranslator.visit_doctest_block
    depart_literal_block = ManualPageTranslator.depart_doctest_block

    def __init__(self, document, builder):
        super().__init__(document, builder)
        self.defs["literal_block"] = (".sp\n.EX\n", "\n.EE\n")

    def header(self):
        title, name, rest = super().header().partition(".SH NAME\n")
        title += ".ad l\n.nh\n"
        functions = [
            signature
            for description in self.document.findall(addnodes.desc)
            if description["objtype"] == "function"
            for signature in description.findall(addnodes.desc_signature)
        ]
        if not functions:
            return title + name + rest

        page, dash, subject = rest.partition(" \\- ")
        names = [next(function.findall(addnodes.desc_name)).astext() for function in functions]
        for other in set(names) - {page}:
            link = Path(self.builder.outdir, f"{other}.3")
            link.unlink(missing_ok=True)
            link.symlink_to(f"{page}.3")
        synopsis = "".join(f".HP 4\n.B \"{self.prototype(function)};\"\n" for function in functions)
        return (
            title + name + ", ".join(names) + dash + subject
            + ".SH SYNOPSIS\n.nf\n.B #include <tty_db.h>\n.fi\n" + synopsis + ".SH DESCRIPTION\n"
        )

    @staticmethod
    def prototype(function):
        """Returns the prototype of a function, which breaks only between its parameters."""
        words = " ".join(function.astext().split())
        return words.replace(" ", "\\ ").replace(",\\ ", ", ")

    def visit_rubric(self, node):
        raise nodes.SkipNode


def read_interface(app):
    """Reads from Doxygen's output the names of the C interface, the result codes of each function, and the errc of
    each code."""
    app.c_names, app.c_results, app.errors = set(), {}, {}
    for path in Path(app.config.breathe_projects["ttydb"]).glob("*.xml"):
        page = ElementTree.parse(path).find("compounddef")
        if page is None:
            continue
        if page.get("kind") == "struct" and path.name.startswith("structt"):
            app.c_names.add(page.findtext("compoundname"))
        for member in page.iter("memberdef"):
            name = member.findtext("name")
            if page.get("kind") == "group" or (path.name.endswith("_8h.xml") and member.get("kind") == "function"):
                app.c_names.add(name)
            returns = [part for part in member.iter("simplesect") if part.get("kind") == "return"]
            text = "".join(text for part in returns for text in part.itertext())
            app.c_results[name] = re.findall(r"TTY_DB_ERR_\w+", text)
        for value in page.iter("enumvalue"):
            app.errors[value.findtext("initializer", "").lstrip("= ")] = value.findtext("name")
    app.c_names = {name for name in app.c_names if "::" not in name}


def link(domain, target, shown):
    return addnodes.pending_xref(
        "", shown, refdomain=domain, reftype="identifier", reftarget=target, refexplicit=True)


def link_names(app, document):
    """Turns each name of the C interface into a link.  Doxygen itself links only functions, and only in comments."""
    closed = (addnodes.desc_signature, addnodes.pending_xref, nodes.FixedTextElement, nodes.Invisible,
              nodes.literal, nodes.reference, nodes.title)
    for literal in list(document.findall(nodes.literal)):
        in_table = any(isinstance(node, nodes.table) for node in ancestors(literal))
        # Tables leave out prefixes.
        for prefix in ("", "TTY_DB_ERR_", "tty_db_")[:3 if in_table else 1]:
            name = prefix + literal.astext().removesuffix("()")
            if name in app.c_names and not isinstance(literal.parent, closed):
                literal.replace_self(link("c", name, literal.deepcopy()))
                break
    for text in list(document.findall(nodes.Text)):
        parts = re.split(r"\b(TTY_[A-Z_]+)\b", text)
        if not app.c_names.intersection(parts) or any(isinstance(node, closed) for node in ancestors(text)):
            continue
        text.parent.replace(text, [
            link("c", part, nodes.Text(part)) if part in app.c_names else nodes.Text(part) for part in parts if part
        ])


def ancestors(node):
    while node.parent is not None:
        node = node.parent
        yield node


def join_overloads(document):
    """Gives the overloads of a function one description.  Doxygen puts a sentence of its own into the others."""
    for description in list(document.findall(addnodes.desc)):
        if "overloaded member function" in description[-1].astext() and not description[-1].children[1:]:
            siblings = description.parent.children
            before = siblings[:siblings.index(description)]
            first = [node for node in before if isinstance(node, addnodes.desc)][-1]
            first[-1:-1] = description[:-1]
            description.parent.remove(description)


def name_errors(app, document):
    """Adds the errors of a C++ function to the paragraph that says "Fails as" and names the C function."""
    for paragraph in document.findall(nodes.paragraph):
        called = re.search(r"\bFails as (\w+)\(\)", paragraph.astext())
        if called:
            paragraph += nodes.Text(" Errors: ")
            # No operation of C++ gives errc::no_more: a range just ends.
            for code in [code for code in app.c_results[called[1]] if code != "TTY_DB_ERR_NO_MORE"]:
                name = app.errors[code]
                literal = nodes.literal("", name)
                paragraph += [link("cpp", f"ttydb::errc::{name}", literal), nodes.Text(", ")]
            paragraph[-1] = nodes.Text(".")


def list_members(document):
    """Lists functions, types and macros under "on this page", each name once.  Classes have headings."""
    listed = set()
    for description in document.findall(addnodes.desc):
        for signature in [node for node in description if isinstance(node, addnodes.desc_signature)]:
            outer = [node["objtype"] for node in ancestors(description) if isinstance(node, addnodes.desc)]
            names = list(signature.findall(addnodes.desc_name))
            if not names or description["objtype"] == "class" or {"struct", "enum"}.intersection(outer):
                continue
            name = names[-1].astext() + "()" * (description["objtype"] == "function")
            scope = next((section for section in ancestors(signature) if isinstance(section, nodes.section)), None)
            if (scope, name) not in listed:
                listed.add((scope, name))
                signature["_toc_name"], signature["_toc_parts"] = name, (name,)


def change_document(app, document):
    for description in list(document.findall(addnodes.desc)):
        # A page describes one group of the header, so the group needs no description of its own.
        if description["objtype"] == "group":
            description.replace_self(description[-1].children)
    for keyword in list(document.findall(addnodes.desc_sig_keyword)):
        if keyword.astext() == "inline":
            parent, place = keyword.parent, keyword.parent.index(keyword)
            del parent[place:place + 2]
    join_overloads(document)
    name_errors(app, document)
    link_names(app, document)
    list_members(document)
    # Sphinx turns a picture that has a size into a link to the file of the picture.
    for image in document.findall(nodes.image):
        image["height"] = "auto"
    # A zero-width space lets long names in the heads of tables break.
    for head in document.findall(nodes.thead):
        for text in list(head.findall(nodes.Text)):
            text.parent.replace(text, nodes.Text(re.sub(r"(::|_)", "\\1\u200b", text)))


def complete_theme(app, exception):
    """Adds what Debian's build of furo lacks: its script imports another, which no browser does in a page that
    is read from a file, and its style sheet ignores the reader's preference for dark."""
    static = Path(app.outdir, "_static")
    if exception or not static.exists():
        return
    script = static / "scripts/furo.js"
    text = script.read_text()
    if text.startswith("import "):
        script.write_text((static / "scripts/gumshoe-patched.js").read_text() + text[text.index("\n"):])
    style = static / "styles/furo.css"
    text = style.read_text()
    if "prefers-color-scheme" not in text:
        dark = re.search(r'body\[data-theme="dark"\] (\{.*?\})', text, re.DOTALL)[1]
        preference = "@media screen and (prefers-color-scheme: dark)"
        style.write_text(text + preference + ' { body:not([data-theme="light"]) ' + dark + " }\n")


def name_version(app, config):
    config.html_title = f"ttydb {config.version}"


def setup(app):
    app.set_translator("man", ManPageTranslator)
    app.connect("config-inited", name_version)
    app.connect("builder-inited", read_interface)
    # Before Sphinx collects the contents of the page.
    app.connect("doctree-read", change_document, priority=100)
    app.connect("build-finished", complete_theme)
