// The two databases of the test bed, and the conflicts the tests make there.
import { execFile } from 'node:child_process';
import { randomUUID } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { promisify } from 'node:util';

export const ConflictType = { changedOnBoth: 1, newOnSource: 2, newOnDestination: 3, changedOnDestination: 4,
    deletedOnSource: 5 };

function dsnSettings(dsn) {
    const section = readFileSync(process.env.ODBCINI, 'utf8').split(`[${dsn}]`)[1].split('\n[')[0];
    return Object.fromEntries([...section.matchAll(/^(\w+) *= *(.*)$/gm)].map((match) => [match[1], match[2].trim()]));
}

function quote(value) {
    return value === null ? 'null' : `'${String(value).replaceAll("'", "''")}'`;
}

class Side {
    constructor(dsn) {
        const { Port, Database, Username } = dsnSettings(dsn);
        this.psql = ['-X', '-q', '-At', '-v', 'ON_ERROR_STOP=1', '-h', '127.0.0.1', '-p', Port, '-U', Username, '-d',
            Database, '-c'];
    }

    /// The lines that psql answers.
    async sql(text) {
        const env = { ...process.env, PGPASSWORD: process.env.QUINMARK_PASSWORD };
        return (await promisify(execFile)('psql', [...this.psql, text], { env })).stdout.trimEnd();
    }

    addShortcut(unid, text, modified = 'now()') {
        return this.sql(`insert into shortcut (unid, item_name, item_text, mod_date)
                         values ('${unid}', 'review', ${quote(text)}, ${modified})`);
    }

    setText(unid, text) {
        return this.sql(`update shortcut set item_text = ${quote(text)} where unid = '${unid}'`);
    }

    /// The text of a row; empty when there is no such row.
    shortcutText(unid) {
        return this.sql(`select item_text from shortcut where unid = '${unid}'`);
    }

    /// How many records and columns of conflicts there are in all.
    async conflictCounts() {
        return (await this.sql(`select count(*) from replication_conflict
                                union all select count(*) from replication_conflict_data`)).split('\n').map(Number);
    }

    async waits(conflict) {
        return await this.sql(`select count(*) from replication_conflict
                               where unid in (${conflict.ids.map(quote)})`) !== '0';
    }
}

export class Practice {
    office = new Side(process.env.QUINMARK_OFFICE_DSN);
    laptop = new Side(process.env.QUINMARK_LAPTOP_DSN);

    async onBoth(sql) {
        for (const side of [this.office, this.laptop]) await side.sql(sql);
    }

    clear() {
        return this.onBoth('delete from replication_conflict; delete from replication_conflict_data; ' +
                           'delete from shortcut');
    }

    /// A shortcut with a text at the office and one at the laptop (null: no row there), and its conflict at `side`,
    /// with a record for each run that found it.
    async conflict(side, key, { type = ConflictType.changedOnBoth, table = 'shortcut', column = 'item_text',
        office = 'set at the office', laptop = 'set at the laptop', found = ['2026-03-01 18:00'] } = {}) {
        const conflict = { ids: found.map(() => randomUUID()), row: randomUUID() };
        conflict.id = conflict.ids.at(-1);
        if (table === 'shortcut') {
            if (office !== null) await this.office.addShortcut(conflict.row, office.slice(0, 500));
            if (laptop !== null) await this.laptop.addShortcut(conflict.row, laptop.slice(0, 500));
        }
        await side.sql(conflict.ids.map((id, index) => `insert into replication_conflict (unid, unique_key,
            last_replicate_date, table_name, patient_id, guid, conflict_type, key_info, source_mod_date,
            destination_mod_date) values ('${id}', 1, '${found[index]}', ${quote(table)}, 0, '${conflict.row}', ${type},
            ${quote(key)}, '2026-03-02 09:15', '2026-03-02 11:40');
            insert into replication_conflict_data values ('${id}', ${quote(column)}, ${quote(office)},
            ${quote(laptop)})`).join('; '));
        return conflict;
    }

    /// `rows` shortcuts that differ, each found `times` times at `side`.
    async manyConflicts(side, rows, times) {
        for (const [at, text] of [[this.office, 'office'], [this.laptop, 'laptop']]) {
            await at.sql(`insert into shortcut (unid, item_name, item_text) select md5('row' || n)::uuid, 'Row ' || n,
                          'set at the ${text} ' || n from generate_series(1, ${rows}) n`);
        }
        await side.sql(`insert into replication_conflict select md5(n || '.' || m)::uuid, 1,
            timestamp '2026-03-01 18:00' + m * interval '1 day', 'shortcut', 0, md5('row' || n)::uuid, 1,
            'Row ' || lpad(n::text, 3, '0'), '2026-03-02 09:15', '2026-03-02 11:40'
            from generate_series(1, ${rows}) n, generate_series(1, ${times}) m;
            insert into replication_conflict_data select md5(n || '.' || m)::uuid, 'item_text',
            'set at the office ' || n, 'set at the laptop ' || n
            from generate_series(1, ${rows}) n, generate_series(1, ${times}) m`);
    }
}
