// A running `quinrep review`.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { readFileSync, writeFileSync } from 'node:fs';
import { createInterface } from 'node:readline';
import { pathToFileURL } from 'node:url';

const kTables = { laptop: '[[table]]\nname = "shortcut"\nmethod = "one_way"\n',
    offices: '[[table]]\nname = "shortcut"\nmethod = "one_way_deletes"\n' };

/// The file of decisions beside a site's log.
export const decisionLogOf = (site) => `review-${site}.decisions.jsonl`;

export function lastDecision(site) {
    return JSON.parse(readFileSync(decisionLogOf(site), 'utf8').trimEnd().split('\n').at(-1));
}

function configuration(site, tables) {
    const side = (dsn, prefix) => `dsn = "${dsn}"\nprefix = "${prefix}"\npassword = "env:QUINMARK_PASSWORD"\n`;
    return `site = "${site}"
local = "${site === 'laptop' ? 'destination' : 'source'}"
program_version = "laptop"
[source]
${side(process.env.QUINMARK_OFFICE_DSN, process.env.QUINMARK_OFFICE_PREFIX)}
[destination]
${side(process.env.QUINMARK_LAPTOP_DSN, process.env.QUINMARK_LAPTOP_PREFIX)}
[log]
file = "review-${site}.log"
${tables}`;
}

function startQuinrep(site, command, { tables = kTables[site], env = {} } = {}) {
    const file = `review-${site}.toml`;
    writeFileSync(file, configuration(site, tables));
    return spawn('wine', [process.env.QUINREP, '-c', file, ...command],
        { stdio: ['ignore', 'pipe', 'pipe'], env: { ...process.env, ...env } });
}

/// Runs `quinrep run` at the laptop; its exit status, and the address of report-NAME.html.
export async function report(name, tables, ...options) {
    const file = `report-${name}.html`;
    const command = ['-q', 'run', '--ready', '--reset-error', '--report', file, ...options];
    const quinrep = startQuinrep('laptop', command, { tables });
    quinrep.stdout.resume();
    quinrep.stderr.pipe(process.stderr);
    const [status] = await once(quinrep, 'exit');
    return { status, address: pathToFileURL(file).href };
}

export class Review {
    /// What it has told on standard error.
    told = '';

    /// Starts the review of a site ("laptop" or "offices") and waits for its address.
    static async start(site, { options = ['--no-browser'], env } = {}) {
        const review = new Review();
        review.process = startQuinrep(site, ['review', ...options], { env });
        review.process.stderr.on('data', (data) => { review.told += data; });
        review.exit = once(review.process, 'exit');
        const lines = createInterface({ input: review.process.stdout });
        [review.address] = await Promise.race([
            once(lines, 'line'),
            review.exit.then(([code]) => { throw new Error(`quinrep ended with status ${code}: ${review.told}`); }),
        ]);
        review.address = review.address.trim();
        review.origin = new URL(review.address).origin;
        return review;
    }

    /// Sends a form as the page itself would.
    post(path, fields = {}, headers = {}) {
        return fetch(this.address + path, {
            method: 'POST', redirect: 'manual', body: new URLSearchParams(fields),
            headers: { Origin: this.origin, ...headers },
        });
    }

    /// Ends the review through its page; the exit status.
    async stop() {
        if (this.process.exitCode === null) await this.post('quit');
        const [code] = await this.exit;
        return code;
    }
}
