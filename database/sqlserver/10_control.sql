-- Version and ownership marks that a run compares between the two databases.
create table dbo.control (
    type        varchar(50) not null,
    id          varchar(50)
);

insert into dbo.control (type, id) values
    ('ReplicationVersion', '3.46'),
    ('PatInfoVer', '12'),
    ('Version', '3.46'),
    ('DBOffice', 'Norvale');
go
