-- The tables of work_postgresql.sql, with the same rows but for the GUIDs. As the component's login.

create table work_guid (
    unid        uniqueidentifier not null primary key,
    small_no    smallint,
    whole_no    int,
    ratio       float,
    price       money,
    fee         money,
    active_f    bit,
    done_f      bit,
    ref_id      uniqueidentifier,
    group_id    uniqueidentifier,
    code        char(8),
    sex         char(1),
    first_name  varchar(40),
    last_name   varchar(40),
    note        varchar(200),
    remark      varchar(60),
    seen        datetime,
    born        datetime,
    total       int,
    mod_date    datetime not null
);

-- The same columns after a numeric key, which `isnull` makes one that cannot be Null.
select isnull(whole_no, 0) as row_no, small_no, whole_no, ratio, price, fee, active_f, done_f, ref_id, group_id, code,
       sex, first_name, last_name, note, remark, seen, born, total, mod_date
  into work_number from work_guid;
alter table work_number add primary key (row_no);
go

-- Rows of a side: of twenty rows, four were changed in the source since the last run; with @missing, one more is new
-- there and one was deleted. A row that the source changed differs in three columns and the date.
create function dbo.work_rows(@rows int, @source bit, @missing bit) returns table as return
    select convert(uniqueidentifier, convert(binary(16), hashbytes('MD5', concat('row ', n)))) as unid,
           convert(smallint, n % 30000) as small_no, n as whole_no, n / 64e0 as ratio,
           convert(money, n / 100.0) as price, convert(money, n % 500 + 0.25) as fee,
           convert(bit, 1 - n % 2) as active_f, convert(bit, case when n % 3 = 0 then 1 else 0 end) as done_f,
           convert(uniqueidentifier, convert(binary(16), hashbytes('MD5', concat('reference ', n)))) as ref_id,
           convert(uniqueidentifier, convert(binary(16), hashbytes('MD5', concat('group ', n % 50)))) as group_id,
           concat('C', n % 100000) as code, case when n % 2 = 0 then 'F' else 'M' end as sex,
           concat('First name ', n % 700) as first_name,
           concat(case when fresh = 1 then 'O''Changed ' else 'Last name ' end, n % 3000) as last_name,
           concat('A note of some length on row ', n, ', as people write them about a patient''s visit.') as note,
           case when n % 2 = 0 then null else concat('Remark ', n) end as remark,
           dateadd(second, n % 100000 * 61, cast('20260101 08:00' as datetime)) as seen,
           dateadd(day, n % 20000, cast('19500101' as datetime)) as born,
           n * case when fresh = 1 then 2 else 1 end as total,
           dateadd(second, n % 86400, case when fresh = 1 then cast('20260701 12:00' as datetime)
                                           else cast('20260115 09:30' as datetime) end) as mod_date
      from (select top (@rows) convert(int, row_number() over (order by (select null))) as n
              from sys.all_columns a cross join sys.all_columns b) numbers
           cross apply (select case when @source = 1 and (n % 20 < 4 or @missing = 1 and n % 20 = 4) then 1
                                    else 0 end as fresh) f
     where @missing = 0 or n % 20 <> case when @source = 1 then 5 else 4 end;
go

-- Fills the tables of the source ('S') or the destination ('D') anew. Of the kind 'mixed' rows are missing on either
-- side; the numbered table has rows of this kind only.
create procedure dbo.fill_work @rows int, @side char(1), @kind varchar(10) as
begin
    declare @source bit = case when @side = 'S' then 1 else 0 end,
            @missing bit = case when @kind = 'mixed' then 1 else 0 end;
    truncate table work_guid;
    truncate table work_number;
    insert into work_guid select * from dbo.work_rows(@rows, @source, @missing);
    insert into work_number
    select whole_no, small_no, whole_no, ratio, price, fee, active_f, done_f, ref_id, group_id, code, sex, first_name,
           last_name, note, remark, seen, born, total, mod_date
      from work_guid
     where @missing = 1;
    -- Before the changes, and after everything else.
    update replication_control set ready_f = 1, last_timestamp = '20260601' where unique_key = 0;
end
go

-- Forty tables for a run that finds nothing to do.
select * into quiet_1 from work_guid;
insert into quiet_1 select * from dbo.work_rows(1000, 0, 0);
alter table quiet_1 add primary key (unid);
declare @n int = 2, @name varchar(10);
while @n <= 40
begin
    set @name = concat('quiet_', @n);
    exec('select * into ' + @name + ' from quiet_1; alter table ' + @name + ' add primary key (unid)');
    set @n = @n + 1;
end
go
