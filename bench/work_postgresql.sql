-- The tables that the benches replicate: 20 columns of all types that replication supports. As the component's login.

create table work_guid (
    unid        uuid primary key,
    small_no    smallint,
    whole_no    integer,
    ratio       double precision,
    price       numeric(19,4),
    fee         numeric(19,4),
    active_f    boolean,
    done_f      boolean,
    ref_id      uuid,
    group_id    uuid,
    code        char(8),
    sex         char(1),
    first_name  varchar(40),
    last_name   varchar(40),
    note        varchar(200),
    remark      varchar(60),
    seen        timestamp(3),
    born        timestamp(3),
    total       integer,
    mod_date    timestamp(3) not null
);

-- The same columns after a numeric key.
create table work_number as select total as row_no, g.* from work_guid g;
alter table work_number drop column unid, alter column mod_date set not null, add primary key (row_no);

-- Rows of a side: of twenty rows, four were changed in the source since the last run; with `missing`, one more is
-- new there and one was deleted. A row that the source changed differs in three columns and the date.
create function work_rows(rows integer, source boolean, missing boolean)
    returns setof work_guid
    language sql
    as $$
        select md5('row ' || n)::uuid, n % 30000, n, n / 64.0, n / 100.0, n % 500 + 0.25, n % 2 = 0, n % 3 = 0,
               md5('reference ' || n)::uuid, md5('group ' || n % 50)::uuid, 'C' || n % 100000,
               case when n % 2 = 0 then 'F' else 'M' end, 'First name ' || n % 700,
               case when fresh then 'O''Changed ' else 'Last name ' end || n % 3000,
               'A note of some length on row ' || n || ', as people write them about a patient''s visit.',
               case when n % 2 = 0 then null else 'Remark ' || n end,
               timestamp '2026-01-01 08:00' + n % 100000 * interval '61 s',
               date '1950-01-01' + n % 20000, n * case when fresh then 2 else 1 end,
               case when fresh then timestamp '2026-07-01 12:00:00' else timestamp '2026-01-15 09:30:00' end
                   + n % 86400 * interval '1 s'
          from generate_series(1, rows) n,
               lateral (select n % 20 as turn) t,
               lateral (select source and (turn < 4 or missing and turn = 4) as fresh) f
         where not missing or turn <> case when source then 5 else 4 end
    $$;

-- Fills the tables of the source ('S') or the destination ('D') anew. Of the kind 'mixed' rows are missing on either
-- side; the numbered table has rows of this kind only.
create procedure fill_work(rows integer, side text, kind text)
    language sql
    as $$
        truncate work_guid, work_number;
        insert into work_guid select * from work_rows(rows, side = 'S', kind = 'mixed');
        insert into work_number
        select whole_no, small_no, whole_no, ratio, price, fee, active_f, done_f, ref_id, group_id, code, sex,
               first_name, last_name, note, remark, seen, born, total, mod_date
          from work_guid
         where kind = 'mixed';
        -- Before the changes, and after everything else.
        update replication_control set ready_f = 1, last_timestamp = '2026-06-01' where unique_key = 0;
    $$;

-- Forty tables for a run that finds nothing to do.
do $$
begin
    for n in 1..40 loop
        execute format('create table quiet_%s (like work_guid including all)', n);
        execute format('insert into quiet_%s select * from work_rows(1000, false, false)', n);
    end loop;
end
$$;
