// All of them in one process, with one browser.
import './list.test.mjs';
import './columns.test.mjs';
import './decision.test.mjs';
import './bulk.test.mjs';
import './offices.test.mjs';
import './looks.test.mjs';
import './access.test.mjs';
import './opening.test.mjs';
import './report.test.mjs';
