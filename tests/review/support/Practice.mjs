// The two databases of the test bed, and the conflicts the tests make there.
import { spawn } from 'node:child_process';
import { randomUUID } from 'node:crypto';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';

export const ConflictType = { changedOnBoth: 1, newOnSource: 2, newOnDestination: 3, changedOnDestination: 4,
    deletedOnSource: 5 };

const kSqlProgram = fileURLToPath(new URL('../../support/sql.py', import.meta.url));
const kConflict = { type: ConflictType.changedOnBoth, table: 'shortcut', column: 'item_text',
    office: 'set at the office', laptop: 'set at the laptop' };

/// A time as databases tell it, so many hours later.
export function hoursAfter(time, hours) {
    return new Date(Date.parse(`${time}Z`) + hours * 3600000).toISOString().slice(0, 23);
}

class Side {
    constructor(name) {
        this.program = spawn('/usr/bin/python3', ['-B', kSqlProgram, name, '--serve'],
            { stdio: ['pipe', 'pipe', 'inherit'] });
        this.answers = createInterface({ input: this.program.stdout })[Symbol.asyncIterator]();
    }

    close() {
        this.program.stdin.end();
    }

    /// The rows of the last statement.
    async sql(request) {
        this.program.stdin.write(`${JSON.stringify(request)}\n`);
        const { value, done } = await this.answers.next();
        const { rows, error } = done ? { error: 'sql.py has ended' } : JSON.parse(value);
        if (error) throw new Error(`${error}: ${request}`);
        return rows;
    }

    /// Inserts rows, each given as its values by column.
    insert(table, ...rows) {
        return this.sql([table, rows]);
    }

    async now() {
        const [[now]] = await this.sql('select getdate()');
        return now;
    }

    async addShortcut(unid, text, hoursFromNow = 0) {
        await this.insert('shortcut', { unid, item_name: 'review', item_text: text,
            mod_date: hoursAfter(await this.now(), hoursFromNow) });
    }

    setText(unid, text) {
        return this.sql(`update shortcut set item_text = '${text}' where unid = '${unid}'`);
    }

    /// The text of a row; empty when there is no such row.
    async shortcutText(unid) {
        const [[text] = ['']] = await this.sql(`select item_text from shortcut where unid = '${unid}'`);
        return text;
    }

    /// How many records and columns of conflicts there are in all.
    async conflictCounts() {
        const [counts] = await this.sql(`select (select count(*) from replication_conflict),
                                                (select count(*) from replication_conflict_data)`);
        return counts;
    }

    async waits(conflict) {
        const found = await this.sql(`select unid from replication_conflict
                                      where unid in ('${conflict.ids.join("', '")}')`);
        return found.length > 0;
    }

    async addConflicts(records) {
        await this.insert('replication_conflict', ...records.map(({ id, found, table, row, type, key }) => ({
            unid: id, unique_key: 1, last_replicate_date: found, table_name: table, patient_id: 0, guid: row,
            conflict_type: type, key_info: key, source_mod_date: '2026-03-02 09:15',
            destination_mod_date: '2026-03-02 11:40' })));
        await this.insert('replication_conflict_data', ...records.map(({ id, column, office, laptop }) => ({
            conflict_id: id, field_name: column, source_data: office, destination_data: laptop })));
    }
}

export class Practice {
    office = new Side('office');
    laptop = new Side('laptop');

    close() {
        for (const side of [this.office, this.laptop]) side.close();
    }

    async onBoth(sql) {
        for (const side of [this.office, this.laptop]) await side.sql(sql);
    }

    clear() {
        return this.onBoth('delete from replication_conflict; delete from replication_conflict_data; ' +
                           'delete from shortcut');
    }

    /// A shortcut with a text at the office and one at the laptop (null: no row there), and its conflict at `side`,
    /// with a record for each run that found it.
    async conflict(side, key, { found = ['2026-03-01 18:00'], ...more } = {}) {
        const conflict = { ids: found.map(() => randomUUID()), row: randomUUID() };
        conflict.id = conflict.ids.at(-1);
        const record = { ...kConflict, key, row: conflict.row, ...more };
        for (const name of record.table === 'shortcut' ? ['office', 'laptop'] : [])
            if (record[name] !== null) await this[name].addShortcut(conflict.row, record[name].slice(0, 500));
        await side.addConflicts(conflict.ids.map((id, index) => ({ ...record, id, found: found[index] })));
        return conflict;
    }

    /// `rows` shortcuts that differ, each found on `days` days at `side`.
    async manyConflicts(side, rows, days) {
        const records = Array.from({ length: rows }, (_, index) => ({ ...kConflict, row: randomUUID(),
            key: `Row ${String(index + 1).padStart(3, '0')}`, office: `set at the office ${index + 1}`,
            laptop: `set at the laptop ${index + 1}` }));
        for (const name of ['office', 'laptop'])
            await this[name].insert('shortcut', ...records.map((record) => ({ unid: record.row, item_name: record.key,
                item_text: record[name] })));
        const found = Array.from({ length: days }, (_, index) => `2026-03-0${index + 1} 18:00`);
        await side.addConflicts(records.flatMap((record) =>
            found.map((day) => ({ ...record, id: randomUUID(), found: day }))));
    }
}
