// The two databases of the test bed, each through connections of its own, and the conflicts the tests make there.
import { execFileSync } from 'node:child_process';
import { randomUUID } from 'node:crypto';
import { readFileSync } from 'node:fs';

export const ConflictType = { changedOnBoth: 1, newOnSource: 2, newOnDestination: 3, changedOnDestination: 4,
    deletedOnSource: 5 };

const kUser = 990001;

function dsnSettings(dsn) {
    const section = readFileSync(process.env.ODBCINI, 'utf8').split(`[${dsn}]`)[1].split('\n[')[0];
    return Object.fromEntries([...section.matchAll(/^(\w+) *= *(.*)$/gm)].map((match) => [match[1], match[2].trim()]));
}

function quote(value) {
    return value === null ? 'null' : `'${String(value).replaceAll("'", "''")}'`;
}

class Side {
    constructor(dsn) {
        this.settings = dsnSettings(dsn);
    }

    sql(text) {
        const { Port, Database, Username } = this.settings;
        const connection = ['-h', '127.0.0.1', '-p', Port, '-U', Username, '-d', Database];
        const options = ['-X', '-q', '-At', '-v', 'ON_ERROR_STOP=1'];
        const env = { ...process.env, PGPASSWORD: process.env.QUINMARK_PASSWORD };
        return execFileSync('psql', [...connection, ...options], { input: text, env, encoding: 'utf8' }).trimEnd();
    }

    addShortcut(unid, text) {
        this.sql(`insert into shortcut (unid, item_name, item_text) values ('${unid}', 'review', ${quote(text)})`);
    }

    shortcutText(unid) {
        return this.sql(`select item_text from shortcut where unid = '${unid}'`);
    }

    hasShortcut(unid) {
        return this.sql(`select count(*) from shortcut where unid = '${unid}'`) === '1';
    }

    /// The end of the site's last run.
    lastRun(site) {
        return this.sql(`select last_timestamp from replication_control where unique_key = ${site}`);
    }

    waits(conflict) {
        return this.sql(`select count(*) from replication_conflict where unid in (${conflict.ids.map(quote)})`) !== '0';
    }

    columnsOf(conflict) {
        return Number(this.sql(`select count(*) from replication_conflict_data where conflict_id in
                                (${conflict.ids.map(quote)})`));
    }
}

export class Practice {
    office = new Side(process.env.QUINMARK_OFFICE_DSN);
    laptop = new Side(process.env.QUINMARK_LAPTOP_DSN);

    clear() {
        for (const side of [this.office, this.laptop]) {
            side.sql(`delete from replication_conflict; delete from replication_conflict_data;
                      delete from shortcut; delete from users where unid = ${kUser}`);
        }
    }

    /// A shortcut with a text at the office and one at the laptop (null: no row there), and its conflict at `side`,
    /// with a record for each run that found it.
    conflict(side, { key, type = ConflictType.changedOnBoth, table = 'shortcut', column = 'item_text', office,
        laptop, found = ['2026-03-01 18:00'] }) {
        const conflict = { ids: found.map(() => randomUUID()), row: randomUUID(), key };
        conflict.id = conflict.ids.at(-1);
        if (table === 'shortcut') {
            if (office !== null) this.office.addShortcut(conflict.row, office.slice(0, 500));
            if (laptop !== null) this.laptop.addShortcut(conflict.row, laptop.slice(0, 500));
        }
        for (const [index, id] of conflict.ids.entries()) {
            side.sql(`insert into replication_conflict (unid, unique_key, last_replicate_date, table_name, patient_id,
                      guid, conflict_type, key_info, source_mod_date, destination_mod_date) values ('${id}', 1,
                      '${found[index]}', ${quote(table)}, 0, '${conflict.row}', ${type}, ${quote(key)},
                      '2026-03-02 09:15', '2026-03-02 11:40');
                      insert into replication_conflict_data values ('${id}', ${quote(column)}, ${quote(office)},
                      ${quote(laptop)})`);
        }
        return conflict;
    }

    /// A user whose name differs, as a conflict of a table with numeric keys.
    numericConflict(side) {
        const conflict = { ids: [randomUUID()] };
        [conflict.id] = conflict.ids;
        for (const [at, name] of [[this.office, 'Ida Holm'], [this.laptop, 'Ida Berg']])
            at.sql(`insert into users (unid, user_name) values (${kUser}, '${name}')`);
        side.sql(`insert into replication_conflict values ('${conflict.id}', 1, '2026-03-01 18:00', 'users', ${kUser},
                  null, 1, 'Ida Holm', '2026-03-02 09:15', '2026-03-02 11:40');
                  insert into replication_conflict_data
                  values ('${conflict.id}', 'user_name', 'Ida Holm', 'Ida Berg')`);
        return conflict;
    }

    /// `rows` shortcuts that differ, each found `times` times at `side`.
    manyConflicts(side, rows, times) {
        const texts = [[this.office, 'office'], [this.laptop, 'laptop']];
        for (const [at, text] of texts) {
            at.sql(`insert into shortcut (unid, item_name, item_text) select md5('row' || n)::uuid, 'Row ' || n,
                    'set at the ${text} ' || n from generate_series(1, ${rows}) n`);
        }
        side.sql(`insert into replication_conflict select md5(n || '.' || m)::uuid, 1,
                  timestamp '2026-03-01 18:00' + m * interval '1 day', 'shortcut', 0, md5('row' || n)::uuid, 1,
                  'Row ' || lpad(n::text, 3, '0'), '2026-03-02 09:15', '2026-03-02 11:40'
                  from generate_series(1, ${rows}) n, generate_series(1, ${times}) m;
                  insert into replication_conflict_data select md5(n || '.' || m)::uuid, 'item_text',
                  'set at the office ' || n, 'set at the laptop ' || n
                  from generate_series(1, ${rows}) n, generate_series(1, ${times}) m`);
    }
}
