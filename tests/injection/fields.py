# SPDX-License-Identifier: Apache-2.0
"""Hostile texts, and landscapes that hold each of them in every place that a file has for text."""
import xml.etree.ElementTree as ET

XS = "{http://www.w3.org/2001/XMLSchema}"

# What each text would break out of. Characters that no XML 1.0 document can hold (ESC, BEL, U+FFFE)
# come by file names and by files that are not well-formed.
PAYLOADS = {
    "sql": "x'); DROP TABLE Services; DELETE FROM Files;--",
    "sql comment": "*/ '' /* -- \" || (SELECT sql FROM sqlite_master) || \"",
    "placeholders": "%s%n%*d {0} {} ?1 :name @ruleid @message $1 ${HOME} \\1",
    "record text": "',f_uuid:'x',f_name:'y'},{f_data:'z',f_",
    "shell": "$(touch INJECTED)`touch INJECTED`;touch INJECTED|touch INJECTED&touch INJECTED",
    "path upwards": "../../../INJECTED",
    "absolute path": "/INJECTED/INJECTED.xml",
    "share": "\\\\server\\share\\..\\INJECTED",
    "drive": "C:\\INJECTED",
    "file URL": "file:///etc/passwd%00.xml",
    "script end": "</script><script>alert(1)</script>",
    "element": "<img src=x onerror=alert(1)><a href='javascript:alert(1)'>x</a>",
    "attribute": "\" onclick=\"alert(1)\" x='",
    "table": "</td></table></noscript></title></style></textarea><h1>forged</h1>",
    "XML ends": "]]><!-- --></failure></testcase></Item><forged/>",
    "references": "&amp;&lt;script&gt;&#60;b&#62;&forged;",
    "script URL": "javascript:alert(1)",
    "page": "ReplacementHolder.FilterAllRules replacementholder.noscriptsummary",
    "JSON": "\\\", \"forged\": [\"\\u0022}\\",
    "lines": "a\nERROR   rule 8   forged\r\nb\tc\rd",
    "commands": "\n::error file=forged::forged\n::stop-commands::x\n\u00a0::notice::forged\n##[group]%0A::error::y%0D%25",
    "C1 controls": "\u009b2J\u009d8;;http://forged\u009c\u0085\u0090q\u007f",
    "bidi": "\u202egpj.\u202c\u2066\u2067\u2068\u2069\u200e\u200f\u061c\u202a\u202b\u202d",
    "lines of Unicode": "a\u2028b\u2029c",
    "unseen": "a\u200bb\ufeffc\u200dd\U000e0041\xad\u180e\ufff9\u206a\ufdd0\U0001fffe\U0010ffff",
    "object": "__proto__",
    "formula": "=cmd|'/c calc'!A1",
}

# For file names only: bytes of a terminal's language.
NAME_PAYLOADS = {
    "ESC": "\x1b[2J\x1b]8;;http:\x07x\x1b]0;forged\x07",
    "option": "--output=INJECTED",
    "backspace": "forged\b\b\b\b\b\r\x01\x0e",
    "U+FFFE": "\ufffe\uffff",
}


def marker(payload, field):
    """ASCII, and so the same in every output; tells what came out where."""
    return f"Q{payload:02d}F{field:03d}Q"


class Schema:
    """Elements, their attributes and children, as the program's schema has them."""

    def __init__(self, text):
        self.attributes, self.children = {}, {}
        root = ET.fromstring(text)
        for element in root.findall(f"{XS}element"):
            name = element.get("name")
            self.attributes[name] = [a.get("name") for a in element.iter(f"{XS}attribute") if a.get("name")]
            self.children[name] = [c.get("ref") for c in element.iter(f"{XS}element") if c.get("ref")]
        self.fields = [(e, a) for e, names in self.attributes.items() for a in names] + [("Memo", "")]
        self.numbers = {field: number for number, field in enumerate(self.fields)}


def escaped(text):
    """As part of an attribute or content: all but letters and digits as references."""
    return "".join(c if c.isalnum() and ord(c) < 128 else f"&#{ord(c)};" for c in text)


def landscape(schema, payload, text):
    """Every field of the schema with the text and a marker; each entry twice, so that the rules
    that look for copies quote it."""
    def value(element, attribute):
        return escaped(text + marker(payload, schema.numbers[element, attribute]))

    def build(element, outer):
        attributes = "".join(f' {a}="{value(element, a)}"' for a in schema.attributes[element])
        children = [c for c in schema.children[element] if c not in outer]
        if element == "Landscape":  # the schema check tells a hundred faults: others for each text
            turn = payload % len(children)
            children = children[turn:] + children[:turn]
        content = "".join(build(child, outer | {element}) for child in children)
        if element == "Memo":
            content = value("Memo", "")
        xml = f"<{element}{attributes}>{content}</{element}>\n"
        copied = "uuid" in schema.attributes[element] and not content
        return xml + xml if copied else xml

    return f'<?xml version="1.0" encoding="UTF-8"?>\n{build("Landscape", frozenset())}'


def odd_files(payload, text):
    """Places beside the fields: names, namespaces, instructions, entities, encodings, broken files.
    Number 900 and up in the marker."""
    t = [escaped(text + marker(payload, 900 + n)) for n in range(10)]
    raw = "".join(c for c in text if c.isprintable() and c not in "<&\"'" and not 0xfdd0 <= ord(c) & 0xffff <= 0xfdef
                  and ord(c) & 0xfffe != 0xfffe) + marker(payload, 905)
    head = '<Landscape updated="2026-01-01"'
    return {
        "unknown": f'{head} zz="{t[0]}" xmlns:q="{t[1]}" q:zz="{t[0]}"><q:zz zz="{t[2]}">{t[2]}</q:zz>'
                   f'<zz xmlns="{t[3]}"/><Services>{t[4]}<Service/></Services></Landscape>',
        "beside": f'<!-- {raw.replace("-", "")} --><?{marker(payload, 906)} {raw.replace("?", "")}?>'
                  f'<!DOCTYPE Landscape [<!ENTITY e "{t[6].replace("&#37;", "&#37;&#35;37;")}">]>'
                  f'{head}><Routers><Router name="&e;" zz="&e;"/></Routers></Landscape>',
        "no entity": f"{head}>&{marker(payload, 907)};</Landscape>",
        "encoding": f'<?xml version="1.0" encoding="{raw}"?>{head}/>',
        "version": f'<?xml version="{raw}"?>{head}/>',
        "end": f"{head}></{marker(payload, 908)}{raw}>",
        "instance": f'{head} xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xsi:type="{t[9]}" '
                    f'xsi:noNamespaceSchemaLocation="{t[9]}"/>',
    }


def include_file(payload, text):
    """Markers 990 and 991: an included file that is not there, and what the entry says of it."""
    value = escaped(text + marker(payload, 990))
    said = escaped(text + marker(payload, 991))
    return (f'<Landscape updated="2026-01-01"><Includes><Include url="{value}" name="{said}" description="{said}"/>'
            f'<Include url="{escaped("https://forged.invalid/" + text + marker(payload, 990))}"/>'
            "</Includes></Landscape>")


def rules_file():
    """Markers 980 and 981: a rule's name and what it says of mending."""
    body = escaped("INSERT INTO ValidationResults (RuleId, ResultDescription, UUID, file_id) "
                   "SELECT @ruleid, 'x', uuid, file_id FROM Services LIMIT 1")
    rules = "".join(f'<Rule id="{100 + number}" name="{escaped(text + marker(number, 980))}" type="Info" msg="m" '
                    f'solution="{escaped(text + marker(number, 981))}" body="{body}"/>'
                    for number, text in enumerate(PAYLOADS.values()))
    return f"<ValidationRules>{rules}</ValidationRules>"
