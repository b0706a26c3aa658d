// The two databases of the test bed, each through connections of its own, and the conflicts the tests make there.
import { execFileSync } from 'node:child_process';
import { randomUUID } from 'node:crypto';
import { readFileSync } from 'node:fs';

export const ConflictType = { changedOnBoth: 1, newOnDestination: 3, deletedOnSource: 5 };

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

    waits(conflict) {
        return this.sql(`select count(*) from replication_conflict where unid = '${conflict.id}'`) === '1';
    }

    columnsOf(conflict) {
        return Number(this.sql(`select count(*) from replication_conflict_data where conflict_id = '${conflict.id}'`));
    }
}

export class Practice {
    office = new Side(process.env.QUINMARK_OFFICE_DSN);
    laptop = new Side(process.env.QUINMARK_LAPTOP_DSN);

    clear() {
        for (const side of [this.office, this.laptop]) {
            side.sql(`delete from replication_conflict; delete from replication_conflict_data;
                      delete from shortcut`);
        }
    }

    /// A shortcut with a text at the office and one at the laptop (null: no row there), and its conflict at `side`.
    conflict(side, { key, type = ConflictType.changedOnBoth, table = 'shortcut', column = 'item_text', office,
        laptop }) {
        const conflict = { id: randomUUID(), row: randomUUID(), key };
        if (table === 'shortcut') {
            if (office !== null) this.office.addShortcut(conflict.row, office.slice(0, 500));
            if (laptop !== null) this.laptop.addShortcut(conflict.row, laptop.slice(0, 500));
        }
        side.sql(`insert into replication_conflict (unid, unique_key, last_replicate_date, table_name, patient_id,
                  guid, conflict_type, key_info, source_mod_date, destination_mod_date) values ('${conflict.id}', 1,
                  '2026-03-01 18:00', ${quote(table)}, 0, '${conflict.row}', ${type}, ${quote(key)}, '2026-03-02 09:15',
                  '2026-03-02 11:40');
                  insert into replication_conflict_data values ('${conflict.id}', ${quote(column)}, ${quote(office)},
                  ${quote(laptop)})`);
        return conflict;
    }
}
