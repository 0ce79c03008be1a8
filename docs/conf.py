# The site of guide and reference. Doxygen reads the headers, Breathe shows what they say.
import pathlib
import re
import subprocess

root = pathlib.Path(__file__).resolve().parent.parent
doxyfile = """INPUT = vimo_util
RECURSIVE = YES
FILE_PATTERNS = *.h
PREDEFINED = VIMO_UTIL_API=
MACRO_EXPANSION = YES
OUTPUT_DIRECTORY = build
GENERATE_HTML = NO
GENERATE_LATEX = NO
GENERATE_XML = YES
QUIET = YES
WARN_IF_UNDOCUMENTED = NO
WARN_AS_ERROR = FAIL_ON_WARNINGS"""
subprocess.run(["doxygen", "-"], cwd=root, input=doxyfile, check=True, text=True)

project = html_title = "vimo_util"
extensions = ["breathe", "myst_parser", "sphinx.ext.graphviz", "sphinx_copybutton"]
breathe_projects = {project: root / "build/xml"}
breathe_default_project = project
breathe_default_members = ("members", "undoc-members")
graphviz_output_format = "svg"
highlight_language, html_theme = "cpp", "furo"
pygments_style, pygments_dark_style = "default", "github-dark"  # every colour stands out by 4.5
html_theme_options = {"dark_css_variables": {"picture": "invert(1) hue-rotate(180deg)"}}
html_static_path, html_css_files = ["static"], ["site.css"]
myst_heading_anchors = 2
html_copy_source = html_show_copyright = html_show_search_summary = False


# Debian's furo is not bundled: its script imports another, its style sheet lacks the rules for a
# reader whose system is dark. Debian 12's imports a style sheet of a server, and Debian 13's script
# is a module, which no browser loads from a file. Mends the copies in the site.
def bundle(app, _):
    def mend(name, line, file):
        path = pathlib.Path(app.outdir, "_static", name)
        path.write_text(re.sub(line, lambda _: (path.parent / file).read_text(), path.read_text()))
        return path

    mend("scripts/furo.js", 'import .*Gumshoe from "./gumshoe-patched.js";', "gumshoe-patched.js")
    normal = "/javascript/normalize.css/normalize.css"
    style = mend("styles/furo.css", rf"@import url\({normal}\);", "/usr/share" + normal)
    dark = re.search(r'body\[data-theme="dark"\] ({.*?})', style.read_text(), re.DOTALL).group(1)
    with style.open("a") as out:
        out.write(f'@media (prefers-color-scheme: dark) {{body:not([data-theme="light"]) {dark}}}')
    for page in pathlib.Path(app.outdir).glob("**/*.html"):
        page.write_text(page.read_text().replace('<script type="module"', "<script"))


def setup(app):
    app.connect("build-finished", bundle)
