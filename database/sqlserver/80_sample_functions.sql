-- The source of all sample values: hashes of a name and a number, so that the same size gives the same rows
-- everywhere (the PostgreSQL files compute the same ones). 84_sample_cleanup.sql removes all of this again.

-- 0 to n - 1
create function dbo.SamplePick(@what varchar(40), @i int, @n int) returns int as
begin
    declare @hash varbinary(16) = hashbytes('MD5', @what + ':' + convert(varchar(12), @i));
    return convert(bigint, 0x00000000 + substring(@hash, 1, 4)) / 16 % @n;
end
go

create function dbo.SampleGuid(@what varchar(40), @i int) returns uniqueidentifier as
begin
    -- The bytes in the order in which a GUID is written; the conversion turns the first three groups round.
    declare @t char(36) = convert(uniqueidentifier,
        convert(binary(16), hashbytes('MD5', @what + ':' + convert(varchar(12), @i))));
    return convert(uniqueidentifier, substring(@t, 7, 2) + substring(@t, 5, 2) + substring(@t, 3, 2)
        + substring(@t, 1, 2) + '-' + substring(@t, 12, 2) + substring(@t, 10, 2) + '-' + substring(@t, 17, 2)
        + substring(@t, 15, 2) + substring(@t, 19, 18));
end
go

-- A whole second in 2024 or 2025
create function dbo.SampleChanged(@what varchar(40), @i int) returns datetime as
begin
    return dateadd(second, dbo.SamplePick(@what + ' changed', @i, 63158400), '20240101');
end
go

-- 0 to 3 times the number of patients, and at least 60
create table dbo.SampleNumber (n int not null primary key);
insert into dbo.SampleNumber (n)
select top (61 + 3 * $(Patients)) row_number() over (order by (select null)) - 1
  from sys.all_columns a cross join sys.all_columns b;

create table dbo.SampleName (kind varchar(10) not null, n int not null, name nvarchar(40) not null,
                             primary key (kind, n));
insert into dbo.SampleName (kind, n, name) values
    ('given', 0, N'Ada'), ('given', 1, N'Bela'), ('given', 2, N'Celia'), ('given', 3, N'Dario'),
    ('given', 4, N'Elin'), ('given', 5, N'Farid'), ('given', 6, N'Gesa'), ('given', 7, N'Hugo'),
    ('given', 8, N'Ilka'), ('given', 9, N'Jonas'), ('given', 10, N'Kaja'), ('given', 11, N'Ludo'),
    ('given', 12, N'Mira'), ('given', 13, N'Noël'), ('given', 14, N'Odile'), ('given', 15, N'Pelle'),
    ('given', 16, N'Renée'), ('given', 17, N'Søren'), ('given', 18, N'Tilda'), ('given', 19, N'Uwe'),
    ('given', 20, N'Vera'), ('given', 21, N'Wim'), ('given', 22, N'Yara'), ('given', 23, N'Zoë'),
    ('surname', 0, N'Abendrot'), ('surname', 1, N'Birkfelder'), ('surname', 2, N'Corvane'),
    ('surname', 3, N'D''Amberley'), ('surname', 4, N'Eschwald'), ('surname', 5, N'Fennmoor'),
    ('surname', 6, N'Grünholt'), ('surname', 7, N'Hallbrook'), ('surname', 8, N'Isterling'),
    ('surname', 9, N'Jorvesson'), ('surname', 10, N'Kestrelle'), ('surname', 11, N'Lindmarsh'),
    ('surname', 12, N'Müller'), ('surname', 13, N'Norrvik'), ('surname', 14, N'O''Brannick'),
    ('surname', 15, N'Pomeray'), ('surname', 16, N'Quillfeather'), ('surname', 17, N'Rosendahl'),
    ('surname', 18, N'Sørbye'), ('surname', 19, N'Tannewitz'), ('surname', 20, N'Umbrecht'),
    ('surname', 21, N'Vaucelle'), ('surname', 22, N'Wexcombe'), ('surname', 23, N'Ytterby'),
    ('surname', 24, N'Zauner'),
    ('street', 0, N'Alder Row'), ('street', 1, N'Bridge Lane'), ('street', 2, N'Cooper''s Yard'),
    ('street', 3, N'Dyke Road'), ('street', 4, N'Elm Court'), ('street', 5, N'Foundry Street'),
    ('street', 6, N'Gartenweg'), ('street', 7, N'Harbour Walk'), ('street', 8, N'Île Street'),
    ('street', 9, N'Juniper Close'),
    ('town', 0, N'Norvale'), ('town', 1, N'Eastmere'), ('town', 2, N'Kaltbrück'), ('town', 3, N'Saint-Aubry'),
    ('town', 4, N'Wexford Hollow'), ('town', 5, N'Lowmarsh');
go
