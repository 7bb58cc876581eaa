#!/usr/bin/env python3
"""Reads an .xls with xlrd and prints what it holds as JSON, together with a
check of the record structure xlrd does not look at (sheet offsets, row
indexes, the shared-string index). Used by the workbook tests as a reader
that shares no code with the writer."""
import json
import struct
import sys

import xlrd
from xlrd import compdoc

RECORD_LIMIT = 8224


def records(stream, start):
    pos = start
    while pos + 4 <= len(stream):
        rid, size = struct.unpack_from('<HH', stream, pos)
        yield pos, rid, stream[pos + 4:pos + 4 + size]
        pos += 4 + size
        if rid == 0x000A:
            return


def structure_problems(stream):
    problems = []
    counts = {'continue': 0, 'extsst_buckets': 0}
    globals_ = list(records(stream, 0))
    sheets = []
    sst_text_starts = []
    for pos, rid, body in globals_:
        if len(body) > RECORD_LIMIT:
            problems.append('record 0x%04x at %d longer than %d' % (rid, pos, RECORD_LIMIT))
        if rid == 0x0085:
            sheets.append(struct.unpack_from('<I', body, 0)[0])
        if rid == 0x003C:
            counts['continue'] += 1
    # Walk the SST with its CONTINUE records to learn where each string starts.
    chunks = []
    in_sst = False
    for pos, rid, body in globals_:
        if rid == 0x00FC:
            in_sst = True
            chunks.append((pos, body))
        elif rid == 0x003C and in_sst:
            chunks.append((pos, body))
        elif in_sst:
            break
    if chunks:
        total, unique = struct.unpack_from('<II', chunks[0][1], 0)
        ci, off = 0, 8
        for _ in range(unique):
            if off >= len(chunks[ci][1]):
                ci, off = ci + 1, 0
            rec_pos, body = chunks[ci]
            sst_text_starts.append((rec_pos + 4 + off, 4 + off))
            cch = struct.unpack_from('<H', body, off)[0]
            flag = body[off + 2]
            if flag & 0x0C:
                problems.append('rich or extended string flags set')
            off += 3
            if cch and off == len(body):
                problems.append('string %d has its length at the end of a record and its '
                                'characters in the next' % len(sst_text_starts))
            left = cch
            wide = flag & 1
            units = []
            any_wide = False
            while left:
                room = (len(chunks[ci][1]) - off) // (2 if wide else 1)
                if room == 0:
                    ci, off = ci + 1, 0
                    wide = chunks[ci][1][0] & 1
                    off = 1
                    continue
                n = min(room, left)
                piece = chunks[ci][1][off:off + n * (2 if wide else 1)]
                units += struct.unpack('<%dH' % n, piece) if wide else list(piece)
                any_wide = any_wide or bool(wide)
                off += n * (2 if wide else 1)
                left -= n
            if any_wide and max(units) <= 0xFF:
                problems.append('string %d is stored in two bytes a character although '
                                'every character fits in one' % len(sst_text_starts))
    for pos, rid, body in globals_:
        if rid == 0x00FF:
            dsst = struct.unpack_from('<H', body, 0)[0]
            n = (len(body) - 2) // 8
            counts['extsst_buckets'] = n
            if dsst < 8:
                problems.append('EXTSST bucket size below 8')
            for k in range(n):
                ib, cb = struct.unpack_from('<IH', body, 2 + 8 * k)
                want = sst_text_starts[k * dsst] if k * dsst < len(sst_text_starts) else None
                if want != (ib, cb):
                    problems.append('EXTSST bucket %d points to %r, string starts at %r' % (k, (ib, cb), want))
    for offset in sheets:
        recs = list(records(stream, offset))
        if not recs or recs[0][1] != 0x0809 or struct.unpack_from('<H', recs[0][2], 2)[0] != 0x10:
            problems.append('sheet offset %d is not a worksheet BOF' % offset)
            continue
        by_pos = {p: (rid, body) for p, rid, body in recs}
        index = [r for r in recs if r[1] == 0x020B]
        if not index:
            problems.append('sheet at %d has no INDEX' % offset)
            continue
        ibody = index[0][2]
        defcol = struct.unpack_from('<I', ibody, 12)[0]
        if by_pos.get(defcol, (None,))[0] != 0x0055:
            problems.append('INDEX does not point to DEFCOLWIDTH')
        for k in range((len(ibody) - 16) // 4):
            db = struct.unpack_from('<I', ibody, 16 + 4 * k)[0]
            if by_pos.get(db, (None,))[0] != 0x00D7:
                problems.append('INDEX entry %d does not point to a DBCELL' % k)
                continue
            dbody = by_pos[db][1]
            first_row = db - struct.unpack_from('<I', dbody, 0)[0]
            if by_pos.get(first_row, (None,))[0] != 0x0208:
                problems.append('DBCELL at %d does not point to a ROW' % db)
                continue
            cell = first_row + 20
            row_pos = first_row
            for j in range((len(dbody) - 4) // 2):
                cell += struct.unpack_from('<H', dbody, 4 + 2 * j)[0]
                rid, body = by_pos.get(cell, (None, b''))
                row_rid, row_body = by_pos.get(row_pos, (None, b''))
                if rid not in (0x00FD, 0x0203) or row_rid != 0x0208 or \
                        struct.unpack_from('<H', body, 0)[0] != struct.unpack_from('<H', row_body, 0)[0]:
                    problems.append('DBCELL at %d: row %d does not start at its first cell' % (db, j))
                row_pos += 20
    return problems, counts


def main():
    path = sys.argv[1]
    with open(path, 'rb') as f:
        data = f.read()
    book = xlrd.open_workbook(file_contents=data, ragged_rows=True)
    out = {'sheets': []}
    for sheet in book.sheets():
        cells = []
        for r in range(sheet.nrows):
            for c in range(sheet.row_len(r)):
                cell = sheet.cell(r, c)
                if cell.ctype == xlrd.XL_CELL_TEXT:
                    cells.append([r, c, 'text', cell.value])
                elif cell.ctype == xlrd.XL_CELL_NUMBER:
                    cells.append([r, c, 'number', cell.value])
                elif cell.ctype != xlrd.XL_CELL_EMPTY:
                    cells.append([r, c, 'other', repr(cell.value)])
        out['sheets'].append({'name': sheet.name, 'selected': bool(sheet.sheet_selected),
                              'cells': cells})
    stream = compdoc.CompDoc(data, logfile=sys.stderr).get_named_stream('Workbook')
    out['stream_size'] = len(stream)
    out['problems'], out['counts'] = structure_problems(stream)
    json.dump(out, sys.stdout, ensure_ascii=True)


if __name__ == '__main__':
    main()
