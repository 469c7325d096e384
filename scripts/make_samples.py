#!/usr/bin/env python3
"""Writes the bundled sample print jobs: minimal XPS packages with a job print ticket.

The output is byte-for-byte reproducible (fixed timestamps, fixed part order), so the committed
packages only change when this script does. It writes them into samples/jobs/, which holds only
jobs (a run of the pipeline host over the folder takes every package in it), and lives beside the
other scripts. Run it from anywhere:

    python3 scripts/make_samples.py
"""

import pathlib
import zipfile

SAMPLES = pathlib.Path(__file__).resolve().parent.parent / "samples"
JOBS = SAMPLES / "jobs"

XPS_NS = "http://schemas.microsoft.com/xps/2005/06"
RELS_NS = "http://schemas.openxmlformats.org/package/2006/relationships"
FIXED_REPRESENTATION = "http://schemas.microsoft.com/xps/2005/06/fixedrepresentation"
PRINT_TICKET = "http://schemas.microsoft.com/xps/2005/06/printticket"
PSF_NS = "http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework"
PSK_NS = "http://schemas.microsoft.com/windows/2003/08/printing/printschemakeywords"
# The printer maker's private keywords (print preview and the other non-standard features).
QX_NS = "http://schemas.qx.com/lfp/ptpc/2006/1"

# A4 in XPS units (1/96 inch): 210 mm x 297 mm.
A4_WIDTH = "793.7"
A4_HEIGHT = "1122.5"

# 1980-01-01 00:00:00, the earliest time a zip entry can carry.
FIXED_TIME = (1980, 1, 1, 0, 0, 0)


def content_types():
    return f"""<?xml version="1.0" encoding="UTF-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
  <Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>
  <Default Extension="fdseq" ContentType="application/vnd.ms-package.xps-fixeddocumentsequence+xml"/>
  <Default Extension="fdoc" ContentType="application/vnd.ms-package.xps-fixeddocument+xml"/>
  <Default Extension="fpage" ContentType="application/vnd.ms-package.xps-fixedpage+xml"/>
  <Override PartName="/Metadata/Job_PT.xml" ContentType="application/vnd.ms-printing.printticket+xml"/>
</Types>
"""


def relationships(*entries):
    lines = [f'  <Relationship Id="{rid}" Type="{kind}" Target="{target}"/>' for rid, kind, target in entries]
    body = "\n".join(lines)
    return f"""<?xml version="1.0" encoding="UTF-8"?>
<Relationships xmlns="{RELS_NS}">
{body}
</Relationships>
"""


def document_sequence():
    return f"""<?xml version="1.0" encoding="UTF-8"?>
<FixedDocumentSequence xmlns="{XPS_NS}">
  <DocumentReference Source="/Documents/1/FixedDocument.fdoc"/>
</FixedDocumentSequence>
"""


def fixed_document():
    return f"""<?xml version="1.0" encoding="UTF-8"?>
<FixedDocument xmlns="{XPS_NS}">
  <PageContent Source="/Documents/1/Pages/1.fpage" Width="{A4_WIDTH}" Height="{A4_HEIGHT}"/>
</FixedDocument>
"""


def fixed_page():
    # One framed rectangle an inch inside the page edge.
    return f"""<?xml version="1.0" encoding="UTF-8"?>
<FixedPage xmlns="{XPS_NS}" Width="{A4_WIDTH}" Height="{A4_HEIGHT}" xml:lang="en-US">
  <Path Data="M 96,96 L 697.7,96 L 697.7,1026.5 L 96,1026.5 Z" Stroke="#FF1F3A93" StrokeThickness="4"/>
</FixedPage>
"""


def feature(name, option):
    return f"""  <psf:Feature name="{name}">
    <psf:Option name="{option}"/>
  </psf:Feature>
"""


def job_print_ticket(preview, media=("psk:ISOA4", 210000, 297000), features=""):
    media_name, media_width, media_height = media
    return f"""<?xml version="1.0" encoding="UTF-8"?>
<psf:PrintTicket xmlns:psf="{PSF_NS}" xmlns:psk="{PSK_NS}"
    xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xsd="http://www.w3.org/2001/XMLSchema"
    xmlns:ns0000="{QX_NS}" version="1">
  <psf:ParameterInit name="psk:JobCopiesAllDocuments">
    <psf:Value xsi:type="xsd:integer">1</psf:Value>
  </psf:ParameterInit>
  <psf:Feature name="psk:PageMediaSize">
    <psf:Option name="{media_name}">
      <psf:ScoredProperty name="psk:MediaSizeWidth">
        <psf:Value xsi:type="xsd:integer">{media_width}</psf:Value>
      </psf:ScoredProperty>
      <psf:ScoredProperty name="psk:MediaSizeHeight">
        <psf:Value xsi:type="xsd:integer">{media_height}</psf:Value>
      </psf:ScoredProperty>
    </psf:Option>
  </psf:Feature>
{features}  <psf:Feature name="ns0000:JobPrintPreview">
    <psf:Option name="ns0000:{preview}"/>
  </psf:Feature>
</psf:PrintTicket>
"""


def package_parts(preview, ticket=None, **ticket_choices):
    """The parts in the order they are stored; [Content_Types].xml first, as readers expect."""
    return [
        ("[Content_Types].xml", content_types()),
        ("_rels/.rels", relationships(("R0", FIXED_REPRESENTATION, "/FixedDocumentSequence.fdseq"))),
        ("FixedDocumentSequence.fdseq", document_sequence()),
        ("_rels/FixedDocumentSequence.fdseq.rels", relationships(("R1", PRINT_TICKET, "/Metadata/Job_PT.xml"))),
        ("Metadata/Job_PT.xml", ticket if ticket is not None else job_print_ticket(preview, **ticket_choices)),
        ("Documents/1/FixedDocument.fdoc", fixed_document()),
        ("Documents/1/Pages/1.fpage", fixed_page()),
    ]


def write_package(path, parts):
    with zipfile.ZipFile(path, "w") as package:
        for name, text in parts:
            entry = zipfile.ZipInfo(name, date_time=FIXED_TIME)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 0  # the same archive whichever system writes it
            entry.external_attr = 0
            package.writestr(entry, text.encode("utf-8"))


def main():
    jobs = {
        "sample.xps": package_parts(preview="OFF"),
        # A whole ticket as the driver writes it: every feature the filter reads.
        "poster-coated.xps": package_parts(
            preview="OFF", ticket=(SAMPLES / "tickets" / "poster-coated.xml").read_text(encoding="utf-8")),
        # The user asked to see the job first; the preview application decides.
        "preview.xps": package_parts(preview="ON"),
        # A 36 x 200 inch banner: longer than the preview's page limit, so its job file is written
        # from pages enlarged to the medium while the job prints its own bytes.
        "banner-preview.xps": package_parts(preview="ON", media=("ns0000:Banner36x200in", 914400, 5080000)),
        # Input bin and rotation left to the printer: its loaded tray or roll decides.
        "autoselect.xps": package_parts(
            preview="OFF",
            features=feature("psk:JobInputBin", "psk:AutoSelect") + feature("ns0000:JobRotate", "ns0000:None")),
    }
    for name, parts in jobs.items():
        target = JOBS / name
        write_package(target, parts)
        print(f"wrote {target} ({target.stat().st_size} bytes)")


if __name__ == "__main__":
    main()
