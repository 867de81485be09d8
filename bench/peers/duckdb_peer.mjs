// DuckDB as a benchmark peer of stattree (bench/README.md).
//
//   node duckdb_peer.mjs version
//   node duckdb_peer.mjs run W1|W2 CSV CAP ROUNDS REPEAT_BELOW
//
// `run` loads the CSV into an in-memory table (untimed), then runs the
// workload's queries on one thread ROUNDS times at most while under
// REPEAT_BELOW seconds, and prints the numbers with its fastest processor
// time in the lines stattree_bench reads. Timed: the queries and reading
// their rows into JavaScript values.
import { DuckDBInstance, version } from '@duckdb/node-api';

const CHANNELS = ['Web', 'Store', 'Phone', 'Mail'];
const SUBSET_CHANNEL = 'Web';
// Histogram bins: below 0, ten of 100 from 0, at or above 1000.
const LOW_EDGE = 0;
const BIN_WIDTH = 100;
const BIN_COUNT = 10;

const COLUMNS = {
  W1: "{'Region': 'VARCHAR', 'Product': 'VARCHAR', 'Year': 'INTEGER', 'Channel': 'VARCHAR', " +
      "'Amount': 'DOUBLE', 'Quantity': 'INTEGER'}",
  W2: "{'Customer': 'VARCHAR', 'Product': 'VARCHAR', 'Amount': 'DOUBLE'}",
};

// Every level of the tree in one scan: GROUPING() tells the level of a row
// (3 the root, 1 a region, 0 a region/product pair).
function everydaySql() {
  const aggregates = [
    'count(*)', 'count(Amount)', 'min(Amount)', 'max(Amount)', 'sum(Amount)', 'avg(Amount)',
    'stddev_samp(Amount)', `avg(Amount) FILTER (WHERE Channel = '${SUBSET_CHANNEL}')`,
  ];
  for (const channel of CHANNELS) aggregates.push(`count(*) FILTER (WHERE Channel = '${channel}')`);
  let edge = LOW_EDGE;
  aggregates.push(`count(*) FILTER (WHERE Amount < ${edge})`);
  for (let bin = 0; bin < BIN_COUNT; ++bin, edge += BIN_WIDTH) {
    aggregates.push(`count(*) FILTER (WHERE Amount >= ${edge} AND Amount < ${edge + BIN_WIDTH})`);
  }
  aggregates.push(`count(*) FILTER (WHERE Amount >= ${edge})`);
  return [
    `SELECT GROUPING(Region, Product), Region, Product, ${aggregates.join(', ')} FROM rows ` +
        'GROUP BY GROUPING SETS ((), (Region), (Region, Product))',
    'SELECT GROUPING(Region, Product), Region, Product, Year, sum(Amount) FROM rows ' +
        'GROUP BY GROUPING SETS ((Year), (Region, Year), (Region, Product, Year))',
  ];
}

function highcardSql() {
  return [
    'SELECT GROUPING(Customer), Customer, NULL, Product, sum(Amount) FROM rows ' +
        'GROUP BY GROUPING SETS ((Product), (Customer, Product))',
  ];
}

function number(value) {
  const n = value === null ? NaN : Number(value);
  return Number.isNaN(n) ? 'nan' : String(n);
}

// The node path of a result row: its level values that are not rolled up.
function nodePath(row) {
  return [row[1], row[2]].filter((part) => part !== null).join('/');
}

function emitEveryday([levels, years], out) {
  for (const row of levels) {
    const path = nodePath(row);
    const n = row.slice(3).map((v) => (v === null ? NaN : Number(v)));
    let at = 0;
    const [count, valid, min, max, sum, average, stdDev, webAverage] = n.slice(at, (at += 8));
    const items = [['Count', count], ['CountValid', valid], ['Min', min], ['Max', max],
                   ['Sum', Number.isNaN(sum) ? 0 : sum], ['Average', average],
                   ['StdDev', valid === 1 ? 0 : stdDev], ['WebAverage', webAverage]];
    for (const [item, value] of items) out.push(`result\t${path}\t${item}\t${number(value)}`);
    const counts = n.slice(at, (at += CHANNELS.length));
    const matched = counts.reduce((a, b) => a + b, 0);
    CHANNELS.forEach((channel, i) => {
      out.push(`result\t${path}\tChannelCount[${channel}]\t${counts[i]}`);
      const percent = matched > 0 ? (counts[i] * 100) / matched : NaN;
      out.push(`result\t${path}\tChannelPercent[${channel}]\t${number(percent)}`);
    });
    n.slice(at).forEach((c, bin) => out.push(`result\t${path}\tAmountHistogram[${bin}]\t${c}`));
  }
  for (const row of years) {
    out.push(`result\t${nodePath(row)}\tSumByYear[${row[3]}]\t${number(row[4])}`);
  }
}

function emitHighcard([sums], out) {
  for (const row of sums) {
    out.push(`result\t${nodePath(row)}\tSumByProduct[${row[3]}]\t${number(row[4])}`);
  }
}

const WORKLOADS = { W1: [everydaySql, emitEveryday], W2: [highcardSql, emitHighcard] };

function cpuSeconds() {
  const usage = process.cpuUsage();
  return (usage.user + usage.system) / 1e6;
}

async function run(workload, path, cap, rounds, repeatBelow) {
  const [sql, emit] = WORKLOADS[workload];
  const instance = await DuckDBInstance.create(':memory:', { threads: '1' });
  const connection = await instance.connect();
  await connection.run('SET threads = 1');
  const file = path.replaceAll("'", "''");
  await connection.run(`CREATE TABLE rows AS SELECT * FROM read_csv('${file}', header = true, ` +
                       `columns = ${COLUMNS[workload]})`);
  let results = null;
  let fastest = Infinity;
  let spent = 0;
  for (let round = 0; round < rounds; ++round) {
    const start = cpuSeconds();
    const computed = [];
    for (const query of sql()) computed.push((await connection.runAndReadAll(query)).getRows());
    const seconds = cpuSeconds() - start;
    results ??= computed;
    fastest = Math.min(fastest, seconds);
    spent += seconds;
    if (spent >= repeatBelow || spent >= cap) break;
  }
  if (fastest >= cap) {
    process.stdout.write(`over-cap\t${fastest}\n`);
    return;
  }
  const out = [];
  emit(results, out);
  out.push(`seconds\t${fastest}`);
  process.stdout.write(out.join('\n') + '\n');
}

const args = process.argv.slice(2);
if (args.length === 1 && args[0] === 'version') {
  process.stdout.write(`version\tDuckDB ${version().replace(/^v/, '')}\n`);
} else if (args.length === 6 && args[0] === 'run') {
  await run(args[1], args[2], Number(args[3]), Number(args[4]), Number(args[5]));
} else {
  process.stderr.write('usage: duckdb_peer.mjs version | run W1|W2 CSV CAP ROUNDS REPEAT_BELOW\n');
  process.exit(2);
}
