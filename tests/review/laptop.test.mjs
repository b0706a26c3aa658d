import assert from 'node:assert/strict';
import { randomUUID } from 'node:crypto';
import { mkdirSync, rmSync, symlinkSync } from 'node:fs';
import { test } from 'node:test';
import { ConflictType } from './support/Practice.mjs';
import { decisionLogOf, lastDecision, openBench, report } from './support/Review.mjs';

const kTables = '[[table]]\nname = "shortcut"\nmethod = "one_way"\n[[table]]\nname = "users"\nmethod = "one_way"\n';
const { practice, review, browser, page } = await openBench('laptop', kTables);
const { office, laptop } = practice;

const open = () => page.goto(review.address);
const press = (name) => page.getByRole('button', { name, exact: true }).click();
const notice = () => page.textContent('[role=status]');
const trouble = () => page.textContent('[role=alert]');
const changed = (key, more = {}) =>
    practice.conflict(laptop, { key, office: 'set at the office', laptop: 'set at the laptop', ...more });

test('no conflicts are said to wait when there are none', async () => {
    await open();
    assert.match(await page.textContent('main'), /No conflicts wait\./);
});

test('conflicts are listed by table, the first with its columns, dates and marked differences', async () => {
    changed('Chart 7, Anna Beck', { table: 'chart_hdr' });
    changed('Shortcut "Recall"');
    await open();
    assert.deepEqual(await page.locator('nav h3').allTextContents(), ['chart_hdr', 'shortcut']);
    assert.equal(await page.textContent('h2'), 'Chart 7, Anna Beck');
    assert.match(await page.textContent('dl'), /Changed at the source.*9:15.*Changed at the destination.*11:40/s);
    assert.deepEqual(await page.locator('.value').allTextContents(), ['set at the office', 'set at the laptop']);
    assert.deepEqual(await page.locator('mark').allTextContents(), ['office', 'laptop']);
    await browser.screenshot('laptop-list');
});

test('a row that several runs found is one entry, with the first and the last of them', async () => {
    changed('Recall', { found: ['2026-03-01 18:00', '2026-03-02 18:00', '2026-03-05 07:30'] });
    await open();
    assert.equal(await page.locator('nav li').count(), 1);
    assert.match(await page.textContent('nav li'), /changed on both sides, found 3 times/);
    assert.match(await page.textContent('dl'),
        /First found by the run of3\/1\/2026.*Last found by the run of3\/5\/2026/s);
    assert.match(await page.textContent('header'), /1 waiting/);
});

test('a side that lacked the row has neither date nor values', async () => {
    changed('Deleted', { type: ConflictType.deletedOnSource, office: null });
    changed('New at the office', { type: ConflictType.newOnSource, laptop: null });
    await open();
    assert.match(await page.textContent('dl'), /Changed at the sourcethe source has no such row/);
    assert.match(await page.textContent('dl'), /Changed at the destination3\/2\/2026 11:40/);
    assert.deepEqual(await page.locator('.sides td').allTextContents(), ['(no row)', 'set at the laptop']);
    await page.getByRole('link', { name: 'New at the office' }).click();
    assert.match(await page.textContent('dl'), /Changed at the destinationthe destination has no such row/);
    assert.deepEqual(await page.locator('.sides td').allTextContents(), ['set at the office', '(no row)']);
    await browser.screenshot('laptop-no-row');
});

test('the list says which rows are equal by now and which are gone', async () => {
    changed('Equal', { office: 'the same', laptop: 'the same' });
    const gone = changed('Gone');
    for (const side of [office, laptop]) side.sql(`delete from shortcut where unid = '${gone.row}'`);
    changed('Waits');
    await open();
    const entries = await page.locator('nav li').allTextContents();
    assert.match(entries[0], /^Equal.*both sides are equal now$/);
    assert.match(entries[1], /^Gone.*the row is on neither side$/);
    assert.match(entries[2], /^Waits.*found once$/);
});

test('the list is filtered by table, kind, day, and text in any case, and the address keeps all of it', async () => {
    changed('Chart 7', { table: 'chart_hdr' });
    changed('Recall', { found: ['2026-03-01 18:00', '2026-03-20 18:00'] });
    changed('Überweisung');
    changed('Deleted', { type: ConflictType.deletedOnSource, office: null });
    const shown = () => page.locator('nav a').count();
    await open();
    await page.getByRole('combobox', { name: 'Table' }).selectOption('shortcut');
    await press('Show');
    assert.equal(await shown(), 3);
    await page.getByRole('combobox', { name: 'Kind' }).selectOption('changed on both sides');
    await press('Show');
    assert.equal(await shown(), 2);
    await page.getByLabel('Last found before').fill('2026-03-20');
    await press('Show');
    assert.equal(await shown(), 1);
    assert.equal(await page.textContent('h2'), 'Überweisung');
    await page.getByLabel('Last found before').fill('2026-03-21');
    await page.getByRole('searchbox').fill('üBER');
    await page.keyboard.press('Enter');
    await page.waitForURL(/table=shortcut&kind=changed_on_both&text=%C3%BCBER&before=2026-03-21/);
    assert.equal(await shown(), 1);
    await page.getByRole('link', { name: 'Überweisung' }).click();
    await page.waitForURL(/show=/);
    assert.equal(await shown(), 1);
    await page.getByRole('searchbox').fill('nothing like it');
    await page.keyboard.press('Enter');
    await page.getByText('No conflict fits the filter.').waitFor();
    await page.getByRole('link', { name: 'Show all' }).click();
    assert.equal(await shown(), 4);
});

test('a filter that cannot be used is told, and lists nothing', async () => {
    changed('Alpha');
    const mistakes = {
        'table=no_such': 'there is no table "no_such"',
        'before=2026-02-30': '"2026-02-30" is no day',
        'before=yesterday': '"yesterday" is no day',
        'kind=odd': 'there is no kind of conflict "odd"',
    };
    for (const [query, text] of Object.entries(mistakes)) {
        const answer = await page.goto(`${review.address}?${query}`);
        assert.equal(answer.status(), 400);
        assert.ok((await trouble()).includes(text), query);
        assert.equal(await page.locator('nav').count(), 0);
    }
    await browser.screenshot('laptop-wrong-filter');
});

test('the source is used: its row replaces the destination\'s, and all records of it go', async () => {
    const conflict = changed('Alpha', { found: ['2026-03-01 18:00', '2026-03-02 18:00'] });
    await open();
    await press('Use source');
    await page.getByText('Alpha: the source\'s row was copied over the destination\'s.').waitFor();
    assert.equal(laptop.shortcutText(conflict.row), 'set at the office');
    assert.equal(office.shortcutText(conflict.row), 'set at the office');
    assert.equal(laptop.waits(conflict), false);
    assert.equal(laptop.columnsOf(conflict), 0);
    await browser.screenshot('laptop-settled');
});

test('what was done is told once', async () => {
    changed('Alpha');
    await open();
    await press('Use destination');
    assert.match(await notice(), /^Alpha: the destination's row was left as it is, and the conflict is closed\./);
    await page.reload();
    assert.equal(await page.locator('[role=status]').count(), 0);
});

test('the source is used for a row deleted there: it is deleted at the destination', async () => {
    const conflict = changed('Deleted', { type: ConflictType.deletedOnSource, office: null });
    await open();
    await press('Use source');
    await page.getByText('Deleted: the row was deleted at the destination.').waitFor();
    assert.equal(laptop.hasShortcut(conflict.row), false);
    assert.equal(laptop.waits(conflict), false);
});

test('the destination is used: both rows stay and the conflict goes', async () => {
    const conflict = changed('Beta');
    await open();
    await press('Use destination');
    await page.getByText('Beta: the destination\'s row was left as it is').waitFor();
    assert.equal(laptop.shortcutText(conflict.row), 'set at the laptop');
    assert.equal(office.shortcutText(conflict.row), 'set at the office');
    assert.equal(laptop.waits(conflict), false);
});

test('later: everything stays, the filter too, and the next conflict is shown', async () => {
    const first = changed('Gamma 1');
    changed('Gamma 2');
    changed('Chart', { table: 'chart_hdr' });
    await page.goto(review.address + '?table=shortcut');
    await press('Later');
    await page.getByText('Gamma 1: the conflict stays in the list.').waitFor();
    assert.equal(laptop.waits(first), true);
    assert.equal(await page.locator('nav a').count(), 2);
    assert.equal(await page.textContent('h2'), 'Gamma 2');
});

test('a row that is not as it was found is shown as it is today before it is overwritten', async () => {
    const conflict = changed('Alpha');
    laptop.sql(`update shortcut set item_text = 'typed in today' where unid = '${conflict.row}'`);
    await open();
    await page.getByText('The row is not as it was found.').waitFor();
    await press('Use source');
    assert.equal(await page.textContent('h1'), 'Use the source for 1 row?');
    assert.match(await page.textContent('.long'), /Alpha.*item_text.*set at the office.*typed in today/s);
    assert.equal(laptop.shortcutText(conflict.row), 'typed in today');
    await press('Do it');
    await page.getByText('Alpha: the source\'s row was copied').waitFor();
    assert.equal(laptop.shortcutText(conflict.row), 'set at the office');
});

test('a conflict that a run recorded, in columns of every type, is decided at once', async () => {
    const row = randomUUID();
    const patient = 990001;
    for (const side of [office, laptop])
        side.sql(`insert into patient (unid, full_name) values (${patient}, 'Mira Birkfelder')`);
    const add = (side, values, hours) => side.sql(`insert into chart_item (unid, chart_hdr_id, patient_id, proc_id,
        tooth, surface, treatment_date, fee, hours, completed_f, mod_date) values ('${row}', '${row}', ${patient}, ${values},
        now() + interval '${hours} hours')`);
    add(office, "7, 11, 'MO', '2026-02-03 10:30:15.250', 1234.5000, 0.1, true", 1);
    add(laptop, "null, 12, 'D', '2026-02-04', 0.0001, 1e-7, false", 2);
    try {
        const { status } = await report('recorded', '[[table]]\nname = "chart_item"\nmethod = "one_way"\n');
        assert.equal(status, 2);
        await open();
        assert.deepEqual(await page.locator('.sides tbody th').allTextContents(), ['proc_id', 'tooth', 'surface',
            'treatment_date', 'fee', 'hours', 'completed_f']);
        await press('Use source');
        assert.match(await notice(), / date: .*: the source's row was copied over the destination's\./);
        const value = 'select fee from chart_item where unid =';
        assert.equal(laptop.sql(`${value} '${row}'`), '1234.5000');
    }
    finally {
        for (const side of [office, laptop])
            side.sql(`delete from chart_item where unid = '${row}'; delete from patient where unid = ${patient}`);
    }
});

test('a row that changed while it was looked at is not overwritten unseen', async () => {
    const conflict = changed('Alpha');
    await open();
    laptop.sql(`update shortcut set item_text = 'typed in now' where unid = '${conflict.row}'`);
    await press('Use source');
    assert.match(await page.textContent('.long'), /typed in now/);
    assert.equal(laptop.shortcutText(conflict.row), 'typed in now');
    await page.getByRole('link', { name: 'Back to the list' }).click();
    assert.equal(await page.textContent('h2'), 'Alpha');
    assert.equal(laptop.waits(conflict), true);
});

test('a dismissal says first what the next run does, wants a reason, and is in the decision log', async () => {
    const conflict = changed('Alpha', { found: ['2026-03-01 18:00', '2026-03-02 18:00'] });
    await open();
    assert.match(await page.textContent('#why-dismiss'),
        /^Takes the conflict off the list and changes no row\. The next run/);
    const reason = page.getByLabel('Reason');
    await reason.evaluate((field) => field.removeAttribute('required'));
    await reason.fill('   ');
    await press(/^Dismiss$/);
    assert.match(await trouble(), /A dismissal needs a reason/);
    assert.equal(laptop.waits(conflict), true);
    await reason.fill('both <texts> are fine');
    await page.keyboard.press('Enter');
    assert.match(await notice(), /^Alpha: the conflict was dismissed\. The next run/);
    assert.equal(laptop.waits(conflict), false);
    assert.equal(laptop.columnsOf(conflict), 0);
    assert.equal(laptop.shortcutText(conflict.row), 'set at the laptop');
    const decision = lastDecision('laptop');
    assert.deepEqual([decision.choice, decision.reason, decision.outcome],
        ['dismissed', 'both <texts> are fine', 'dismissed']);
    assert.deepEqual(decision.ids.sort(), conflict.ids.map((id) => `{${id.toUpperCase()}}`).sort());
});

test('nothing is decided while the decision log cannot be opened, or its disk is full', async () => {
    const conflict = changed('Alpha');
    const log = decisionLogOf('laptop');
    for (const spoil of [() => mkdirSync(log), () => symlinkSync('/dev/full', log)]) {
        rmSync(log, { force: true });
        spoil();
        try {
            await open();
            await press('Use source');
            assert.match(await trouble(), /^The decision log .* cannot be written/);
            await page.getByLabel('Reason').fill('a reason');
            await press(/^Dismiss$/);
            assert.match(await trouble(), /^The decision log .* cannot be written/);
            await browser.screenshot('laptop-no-log');
        }
        finally {
            rmSync(log, { recursive: true });
        }
        assert.equal(laptop.shortcutText(conflict.row), 'set at the laptop');
        assert.equal(laptop.waits(conflict), true);
    }
});

test('a table with numeric keys cannot take the source\'s row, and it is said what to do instead', async () => {
    const conflict = practice.numericConflict(laptop);
    await open();
    assert.equal(await page.getByRole('button', { name: 'Use source', exact: true }).isDisabled(), true);
    assert.match(await page.textContent('#why-source'),
        /Not possible: .*numeric keys\. Save the record again at the source/);
    await press('Use destination');
    assert.match(await notice(), /^Ida Holm: the destination's row was left as it is/);
    assert.equal(laptop.waits(conflict), false);
});

test('a resolution without effect is shown as not possible, with the reason', async () => {
    changed('New here', { type: ConflictType.newOnDestination, office: null });
    await open();
    const source = page.getByRole('button', { name: 'Use source', exact: true });
    assert.equal(await source.isDisabled(), true);
    assert.match(await page.textContent('#why-source'), /Not possible: .*no row of the source/);
    assert.equal(await page.getByRole('button', { name: 'Use destination', exact: true }).isEnabled(), true);
});

test('the keyboard alone selects and resolves', async () => {
    changed('Key 1');
    const second = changed('Key 2');
    await open();
    await page.getByRole('link', { name: 'Key 2' }).focus();
    await page.keyboard.press('Enter');
    await page.waitForURL(/show=%7B/);
    assert.equal(await page.textContent('h2'), 'Key 2');
    await page.locator('.value').last().focus();
    await page.keyboard.press('Tab');
    await page.keyboard.press('Tab');
    assert.equal(await page.evaluate(() => document.activeElement.value), 'destination');
    await page.keyboard.press('Enter');
    await page.getByText('Key 2: the destination\'s row was left').waitFor();
    assert.equal(laptop.waits(second), false);
});

test('a column of 3,500 characters is shown in full, its one difference marked', async () => {
    const text = 'The patient asks for a reminder. '.repeat(110).slice(0, 3499);
    changed('Long', { office: text + 'X', laptop: text + 'Y' });
    await open();
    assert.deepEqual(await page.locator('.value').allTextContents(), [text + 'X', text + 'Y']);
    assert.deepEqual(await page.locator('mark').allTextContents(), ['X', 'Y']);
    await browser.views('laptop-long-column');
});

test('script text in the data stays text', async () => {
    const script = '<script>document.title = "owned"</script>';
    changed(script + '"\'&', { column: '<img src=x onerror=alert(1)>', office: script, laptop: '</div><h1>x</h1>',
        table: '"><b>bold</b>' });
    let dialogs = 0;
    page.on('dialog', (dialog) => { dialogs += 1; return dialog.dismiss(); });
    await open();
    assert.equal(await page.title(), 'Conflicts');
    assert.equal(await page.textContent('h2'), script + '"\'&');
    assert.deepEqual(await page.locator('.value').allTextContents(), [script, '</div><h1>x</h1>']);
    assert.equal(await page.textContent('.sides tbody th'), '<img src=x onerror=alert(1)>');
    const assertOnlyText = async () => {
        assert.equal(await page.locator('script, img, b').count(), 0);
        assert.equal(dialogs, 0);
    };
    await assertOnlyText();
    await page.getByLabel('Apply to all 1 shown').check();
    await press('Dismiss…');
    assert.ok((await page.textContent('.long')).includes(`${script}"'&`));
    await assertOnlyText();
    await page.getByLabel('Reason').fill(script);
    await press('Do it');
    assert.ok((await notice()).startsWith(`${script}"'&: the conflict was dismissed.`));
    await assertOnlyText();
    await page.goto(`${review.address}?table=${encodeURIComponent(script)}`);
    assert.ok((await trouble()).includes(script));
    await assertOnlyText();
    await browser.screenshot('laptop-script-text');
});

test('a conflict that is gone meanwhile is told, not resolved', async () => {
    const conflict = changed('Gone');
    await open();
    laptop.sql(`delete from replication_conflict where unid = '${conflict.id}'`);
    await press('Use source');
    await page.getByRole('alert').waitFor();
    assert.match(await trouble(), /no longer in the list: somebody else has decided it\. Nothing was done\./);
    assert.equal(laptop.shortcutText(conflict.row), 'set at the laptop');
});

test('nothing is loaded from elsewhere', async () => {
    changed('Any');
    await open();
    assert.deepEqual(browser.requests.filter((url) => !url.startsWith(review.origin)), []);
});
